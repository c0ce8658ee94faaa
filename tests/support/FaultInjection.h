#pragma once

// Faults a test can inject into the file layer from outside, without a seam
// in the code under test.

#include <sys/resource.h>

#include <csignal>

namespace loadcal::testsupport {

/// While it lives, every write of this process to a regular file beyond
/// `bytes` fails with EFBIG ("File too large"), as a full disk makes a write
/// fail, for root too (file permissions do not stop root). SIGXFSZ is
/// ignored so that the write returns its error instead of ending the process.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_previous);
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = m_previous;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_previous{};
    void (*m_previousHandler)(int) = SIG_DFL;
};

}  // namespace loadcal::testsupport
