// File: mulkit2/digest.h
//
// MD5 and SHA1 digests of files over OpenSSL's EVP interface.
//
//   mulkit2::md5_t md5;
//   if (md5.update_from_file(mulkit2::path_t("/usr/lib/libx.so"), 4096))
//       std::string hex = md5.get_digest_base16();   // 32 lower-case hex digits
//
// Failures are answers, never exceptions: a missing, unreadable or non-regular file (a
// directory, a FIFO, a device), a read error, or a digest algorithm the OpenSSL
// providers refuse (MD5 under a FIPS configuration; logged once to the logger
// "FILE_FINDER") make update_from_file() return false, and from then on
// get_digest_base16() returns "": a failed digest never passes for the digest of
// nothing.
//
// Files are read 256 KiB at a time into one buffer, and the digest is fed from it in
// chunks of the given size, so a file is never held in memory whole, and the calling
// thread does all the work. Each algorithm is fetched from the providers once per
// process and shared by every digest object. One digest object belongs to one thread at
// a time; separate objects may run on separate threads.
#pragma once

#include <cstddef>
#include <string>

#include "mulkit2/path.h"

namespace mulkit2 {

/// The common engine of md5_t and sha1_t.
class __attribute__((visibility("default"))) digest_t {
public:
    digest_t(const digest_t&) = delete;
    digest_t& operator=(const digest_t&) = delete;
    virtual ~digest_t();

    /// Feeds the whole contents of `file` in chunks of `chunkSize` bytes (0 is refused;
    /// a chunk larger than a read is fed as read). False on any failure (see above); the digest is
    /// then unusable.
    bool update_from_file(const path_t& file, unsigned int chunkSize);
    /// Feeds `size` bytes. False when the digest is unusable.
    bool update(const void* data, std::size_t size);
    /// The digest as lower-case hexadecimal text, or "" after a failure. Finishes the
    /// digest: later updates fail, later calls return the same text.
    std::string get_digest_base16();

protected:
    /// `algorithm` is an OpenSSL digest name ("MD5", "SHA1").
    explicit digest_t(const char* algorithm);

private:
    struct state_t;
    state_t* m_state;
};

class __attribute__((visibility("default"))) md5_t : public digest_t {
public:
    md5_t();
};

class __attribute__((visibility("default"))) sha1_t : public digest_t {
public:
    sha1_t();
};

}  // namespace mulkit2
