// Runs a fuzz harness once on each file named on the command line, so that
// seeds and saved crash inputs replay under any compiler and sanitizer.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s input...\n", argv[0]);
        return 2;
    }
    for (int i = 1; i < argc; ++i) {
        std::ifstream in(argv[i], std::ios::binary);
        if (!in) {
            std::fprintf(stderr, "cannot read %s\n", argv[i]);
            return 1;
        }
        // An exactly sized copy, so that a read past the input is caught.
        const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in),
                                              std::istreambuf_iterator<char>()};
        const std::vector<std::uint8_t> input(bytes);
        LLVMFuzzerTestOneInput(input.empty() ? nullptr : input.data(), input.size());
        std::printf("%s: %zu bytes replayed\n", argv[i], input.size());
    }
    return 0;
}
