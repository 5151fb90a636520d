// The two ends of an unpacking: the compressed file, read at any offset, and the unpacked
// file, which appears under its name only when it is complete and an ELF file.
//
//   StreamReader in(fd);
//   UnpackedOutput out("/cache/vmlinux", kMaxUnpackedSize);
//   in.seek(offset);
//   ... out.write(data, size) for every piece a decoder produces ...
//   if (out.finish() == UnpackedOutput::Write::ok && out.commit()) ...
//
// The output holds back the first bytes until it has seen the ELF identification, and
// creates its file only then: a candidate stream that unpacks to something else (stray
// magic bytes in boot code, a bomb of zeros) costs no file at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/posix.h"

namespace FF_2_13 {

/// e_ident up to EI_VERSION: the magic, a class (32 or 64 bits), a byte order, version 1.
constexpr size_t kElfIdentificationSize = 7;
/// True when `header` starts with such an identification.
bool isElfIdentification(const std::string& header);

/// Reads a file by position; one user at a time.
class StreamReader {
public:
    /// `fd` stays the caller's.
    explicit StreamReader(int fd) : m_fd(fd) {}

    /// Fills `buffer` from `offset` as far as the file goes: `got` is less than `size` only
    /// at the end of the file. False on a read error (error() says which).
    bool readAt(std::uint64_t offset, void* buffer, size_t size, size_t& got);

    /// Sequential reading for a decoder, from `offset` on.
    void seek(std::uint64_t offset) { m_position = offset; }
    /// Up to `size` bytes from the position: the count, 0 at the end of the file, -1 on a
    /// read error.
    std::ptrdiff_t read(void* buffer, size_t size);

    /// The errno value of the last failed read; 0 when none failed.
    int error() const { return m_error; }

private:
    int m_fd;
    std::uint64_t m_position = 0;
    int m_error = 0;
};

class UnpackedOutput {
public:
    enum class Write {
        ok,
        notElf,    ///< the data does not start with an ELF identification
        tooLarge,  ///< more than the allowed size
        failed,    ///< the file cannot be created or written (error() says why)
    };

    /// `target`: the final name; nothing is created until an ELF header was seen.
    UnpackedOutput(std::string target, std::uint64_t maxSize);
    /// Removes the file of an unfinished or refused unpacking.
    ~UnpackedOutput();
    UnpackedOutput(const UnpackedOutput&) = delete;
    UnpackedOutput& operator=(const UnpackedOutput&) = delete;

    /// Appends `size` bytes. After an answer other than ok, every later call repeats it.
    Write write(const void* data, size_t size);
    /// The stream is complete: ok when it was an ELF file and all of it is written.
    Write finish();
    /// Puts the finished file under the target name (replacing what is there); false with
    /// error() set when that fails.
    bool commit();
    /// Forgets the unpacking so far (removing its file), for another candidate stream.
    void restart();

    std::uint64_t size() const { return m_size; }
    int error() const { return m_error; }

private:
    Write writeOut(const void* data, size_t size);
    Write fail(Write why);

    const std::string m_target;
    const std::uint64_t m_maxSize;
    std::string m_temporary;  // created, not yet renamed
    posix::FileDescriptor m_fd;
    std::string m_header;  // held back until the identification is complete
    std::uint64_t m_size = 0;
    Write m_state = Write::ok;
    int m_error = 0;
};

}  // namespace FF_2_13
