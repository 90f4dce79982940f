#include "log/RollingLog.h"

#include <gtest/gtest.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

using VEXOGENICAM::CRollingLog;
namespace fs = std::filesystem;

namespace {

class RollingLogTest : public ::testing::Test {
protected:
    void SetUp() override {
        CRollingLog::ResetForTesting();
        m_dir = fs::temp_directory_path() /
                ("lumo-log-" + std::to_string(::getpid()) + "-" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
    }
    void TearDown() override {
        CRollingLog::ResetForTesting();
        fs::remove_all(m_dir);
    }
    static std::string ReadFile(const fs::path& p) {
        std::ifstream in(p);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }
    fs::path m_dir;
};

}  // namespace

TEST_F(RollingLogTest, DefaultsAreTheLibraryFileAndLimits) {
    const auto d = CRollingLog::Defaults();
    EXPECT_EQ(d.fileName, "VEXOGenICamLog.txt");
    EXPECT_EQ(d.maxFileSize, 52428800u);
    EXPECT_EQ(d.maxFiles, 5u);
    EXPECT_EQ(d.severity, 5);
}

TEST_F(RollingLogTest, RollsOverAtTheSizeLimitAndKeepsTheFileCount) {
    const fs::path file = m_dir / "roll.txt";
    ASSERT_TRUE(CRollingLog::Setup({file.string(), 1024, 3, 5}));
    auto log = CRollingLog::Logger();
    ASSERT_NE(log, nullptr);
    const std::string line(100, 'x');
    for (int i = 0; i < 200; ++i) {
        log->debug("{} {}", i, line);
    }
    log->flush();
    EXPECT_TRUE(fs::exists(file));
    EXPECT_TRUE(fs::exists(m_dir / "roll.1.txt"));
    EXPECT_TRUE(fs::exists(m_dir / "roll.2.txt"));
    EXPECT_FALSE(fs::exists(m_dir / "roll.3.txt"));  // three files in all
    for (const auto& entry : fs::directory_iterator(m_dir)) {
        EXPECT_LE(fs::file_size(entry.path()), 1024u + line.size() + 100) << entry.path();
    }
    // The newest records are in the current file.
    EXPECT_NE(ReadFile(file).find("199 "), std::string::npos);
}

TEST_F(RollingLogTest, TextAndCsvLayoutsFollowTheFileName) {
    const fs::path text = m_dir / "log.txt";
    ASSERT_TRUE(CRollingLog::Setup({text.string(), 1 << 20, 2, 5}));
    CRollingLog::Logger()->debug("hello text");
    CRollingLog::Logger()->flush();
    const std::string textContent = ReadFile(text);
    EXPECT_NE(textContent.find("debug"), std::string::npos);
    EXPECT_NE(textContent.find("hello text"), std::string::npos);
    EXPECT_EQ(textContent.find(';'), std::string::npos);

    CRollingLog::ResetForTesting();
    const fs::path csv = m_dir / "log.CSV";
    ASSERT_TRUE(CRollingLog::Setup({csv.string(), 1 << 20, 2, 5}));
    CRollingLog::Logger()->debug("hello csv");
    CRollingLog::Logger()->flush();
    std::istringstream lines(ReadFile(csv));
    std::string header, record;
    std::getline(lines, header);
    std::getline(lines, record);
    EXPECT_EQ(header, "Date;Time;Severity;TID;This;Function;Message");
    EXPECT_EQ(std::count(record.begin(), record.end(), ';'), 6) << record;
    EXPECT_NE(record.find("hello csv"), std::string::npos);
}

TEST_F(RollingLogTest, SeverityFiltersRecords) {
    const fs::path file = m_dir / "sev.txt";
    ASSERT_TRUE(CRollingLog::Setup({file.string(), 1 << 20, 2, 3}));
    CRollingLog::Logger()->info("not wanted");
    CRollingLog::Logger()->warn("wanted");
    CRollingLog::Logger()->flush();
    const std::string content = ReadFile(file);
    EXPECT_EQ(content.find("not wanted"), std::string::npos);
    EXPECT_NE(content.find("wanted"), std::string::npos);
}

TEST_F(RollingLogTest, IsSetUpOnlyOnce) {
    const fs::path first = m_dir / "first.txt";
    const fs::path second = m_dir / "second.txt";
    ASSERT_TRUE(CRollingLog::Setup({first.string(), 1 << 20, 2, 5}));
    auto logger = CRollingLog::Logger();
    EXPECT_TRUE(CRollingLog::Setup({second.string(), 1 << 20, 2, 5}));
    EXPECT_EQ(CRollingLog::Logger(), logger);
    EXPECT_FALSE(fs::exists(second));
}

TEST_F(RollingLogTest, UnwritableWorkingDirectoryTurnsLoggingOffWithOneLine) {
    const fs::path gone = m_dir / "gone";
    fs::create_directories(gone);
    const fs::path previous = fs::current_path();
    fs::current_path(gone);
    fs::remove(gone);  // the working directory no longer exists: nothing can be created in it

    ::testing::internal::CaptureStderr();
    bool on = true;
    EXPECT_NO_THROW(on = CRollingLog::Setup(CRollingLog::Defaults()));
    const std::string err = ::testing::internal::GetCapturedStderr();
    fs::current_path(previous);

    EXPECT_FALSE(on);
    EXPECT_EQ(CRollingLog::Logger(), nullptr);
    EXPECT_NE(err.find("VEXOGenICamLog.txt"), std::string::npos);
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
}
