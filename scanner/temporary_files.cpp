// SPDX-License-Identifier: GPL-2.0-or-later
// The engine calls the C library's functions through the dynamic linker, which finds those of the program first. They
// do what the library's do, and remember that they failed. <fcntl.h> is not included: its inline open64() would stand
// in the way of the definition.
#include <scanner/temporary_files.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <linux/fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tfs::scanner {
namespace {

int g_trouble = 0;

void Note(int error) noexcept {
    if (g_trouble == 0 && error != EINTR && error != EAGAIN)
        g_trouble = error;
}

int Noted(long result) noexcept {
    if (result < 0)
        Note(errno);
    return static_cast<int>(result);
}

/// What is only read is often asked for in vain; then a lack of means is all that counts.
void NoteOpening(bool reads) noexcept {
    if (!reads || errno == EMFILE || errno == ENFILE || errno == ENOMEM)
        Note(errno);
}

template <class Function>
Function* Next(const char* name) noexcept {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

void ForgetFileTrouble() noexcept { g_trouble = 0; }
int FileTrouble() noexcept { return g_trouble; }

} // namespace tfs::scanner

#define TESL_REPLACES __attribute__((visibility("default")))

extern "C" {

TESL_REPLACES ssize_t write(int file, const void* data, size_t size) {
    const ssize_t result = ::syscall(SYS_write, file, data, size);
    tfs::scanner::Noted(result);
    return result;
}

TESL_REPLACES int ftruncate64(int file, off64_t size) noexcept {
    return tfs::scanner::Noted(::syscall(SYS_ftruncate, file, size));
}

TESL_REPLACES int mkdir(const char* path, mode_t mode) noexcept {
    const long result = ::syscall(SYS_mkdirat, AT_FDCWD, path, mode);
    return result < 0 && errno == EEXIST ? -1 : tfs::scanner::Noted(result);
}

TESL_REPLACES int open64(const char* path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & (O_CREAT | __O_TMPFILE)) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    const int file = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    if (file < 0)
        tfs::scanner::NoteOpening((flags & O_ACCMODE) == O_RDONLY);
    return file;
}

TESL_REPLACES FILE* fopen64(const char* path, const char* mode) {
    static auto* const s_next = tfs::scanner::Next<FILE*(const char*, const char*)>("fopen64");
    FILE* file = s_next(path, mode);
    if (file == nullptr)
        tfs::scanner::NoteOpening(mode[0] == 'r');
    return file;
}

TESL_REPLACES int fclose(FILE* file) {
    static auto* const s_next = tfs::scanner::Next<int(FILE*)>("fclose");
    const bool failed = std::ferror(file) != 0;
    const int result = s_next(file);
    if (failed || result != 0)
        tfs::scanner::Note(failed ? EIO : errno);
    return result;
}

} // extern "C"
