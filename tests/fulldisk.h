#pragma once

#include <csignal>
#include <sys/resource.h>

/// A disk that is full while the object lives: a limit on the size of this process's files stands
/// in for it, the write that crosses it comes out short, and the next one fails.
class FullDisk
{
public:
    /// \a size is how many bytes a file can still come to.
    explicit FullDisk(rlim_t size)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = size;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;

private:
    rlimit m_before = {};
};
