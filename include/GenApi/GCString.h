#pragma once

#include <cstddef>
#include <ostream>
#include <string>

#include "GenApiDll.h"

namespace GenICam {

// Owns its bytes; converts implicitly to const char* like the GenApi string type.
class GENAPI_DECL gcstring {
public:
    static constexpr size_t npos = std::string::npos;

    gcstring() = default;
    gcstring(const char* s) : m_str(s ? s : "") {}
    gcstring(const char* s, size_t n) : m_str(s ? std::string(s, n) : std::string()) {}
    gcstring(const std::string& s) : m_str(s) {}
    gcstring(size_t count, char ch) : m_str(count, ch) {}

    const char* c_str() const { return m_str.c_str(); }
    size_t size() const { return m_str.size(); }
    size_t length() const { return m_str.length(); }
    bool empty() const { return m_str.empty(); }
    size_t find(const gcstring& s, size_t pos = 0) const { return m_str.find(s.m_str, pos); }
    size_t find(char ch, size_t pos = 0) const { return m_str.find(ch, pos); }
    gcstring substr(size_t pos = 0, size_t n = npos) const { return m_str.substr(pos, n); }
    int compare(const gcstring& s) const { return m_str.compare(s.m_str); }

    operator const char*() const { return m_str.c_str(); }
    operator std::string() const { return m_str; }
    const std::string& str() const { return m_str; }

    gcstring& operator+=(const gcstring& s) {
        m_str += s.m_str;
        return *this;
    }
    gcstring& operator+=(const char* s) {
        m_str += s ? s : "";
        return *this;
    }
    gcstring operator+(const gcstring& s) const { return m_str + s.m_str; }
    gcstring operator+(const char* s) const { return m_str + (s ? s : ""); }

    bool operator==(const gcstring& s) const { return m_str == s.m_str; }
    bool operator==(const char* s) const { return m_str == (s ? s : ""); }
    bool operator!=(const gcstring& s) const { return m_str != s.m_str; }
    bool operator!=(const char* s) const { return m_str != (s ? s : ""); }
    bool operator<(const gcstring& s) const { return m_str < s.m_str; }

private:
    std::string m_str;
};

inline std::ostream& operator<<(std::ostream& os, const gcstring& s) {
    return os << s.str();
}

}  // namespace GenICam
