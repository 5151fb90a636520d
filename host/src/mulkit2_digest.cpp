// MD5 and SHA1 digests of files over OpenSSL's EVP interface.
#include "mulkit2/digest.h"

#include <log4cplus/logger.h>
#include <openssl/err.h>
#include <openssl/evp.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/posix.h"

namespace mulkit2 {

namespace {

namespace posix = FF_2_13::posix;

// Bytes asked of each read(2): many chunks per system call, few enough that the buffer
// stays in the core's own cache while the hash goes over it.
constexpr std::size_t kReadSize = 256 * 1024;
constexpr std::size_t kPageSize = 4096;

// A small file needs no more buffer than its size, a whole number of pages; one that
// grows meanwhile is still read to its end. The buffer starts on a page too: a plain
// allocation this large starts 16 bytes into one, which splits every cache line that the
// kernel copies into and the hash reads, and makes the copy a fifth dearer.
std::size_t readBufferSize(uint64_t fileSize) {
    const uint64_t wanted = std::min<uint64_t>(std::max<uint64_t>(fileSize, 1), kReadSize);
    return static_cast<std::size_t>((wanted + kPageSize - 1) / kPageSize * kPageSize);
}

void logError(const std::string& text) {
    log4cplus::Logger logger = log4cplus::Logger::getInstance("FILE_FINDER");
    if (logger.isEnabledFor(log4cplus::ERROR_LOG_LEVEL))
        logger.forcedLog(log4cplus::ERROR_LOG_LEVEL, text, "host/src/mulkit2_digest", __LINE__);
}

const EVP_MD* fetchOnce(const char* algorithm) {
    EVP_MD* md = EVP_MD_fetch(nullptr, algorithm, nullptr);
    if (!md) {
        const unsigned long code = ERR_get_error();
        char reason[256] = "no reason given";
        if (code) ERR_error_string_n(code, reason, sizeof reason);
        ERR_clear_error();
        logError(std::string("The digest algorithm ") + algorithm +
                 " is not available from the OpenSSL providers: " + reason);
    }
    return md;
}

// The implicit fetch inside EVP_DigestInit takes global locks on every call; the
// fetched algorithm is kept for the life of the process and shared by all digests. A
// refused algorithm stays refused: the provider configuration does not change under us.
const EVP_MD* algorithmNamed(const char* algorithm) {
    if (std::strcmp(algorithm, "MD5") == 0) {
        static const EVP_MD* const md5 = fetchOnce("MD5");
        return md5;
    }
    if (std::strcmp(algorithm, "SHA1") == 0) {
        static const EVP_MD* const sha1 = fetchOnce("SHA1");
        return sha1;
    }
    return nullptr;
}

}  // namespace

struct digest_t::state_t {
    EVP_MD_CTX* context = nullptr;
    bool failed = false;
    bool finished = false;
    std::string hex;
};

digest_t::digest_t(const char* algorithm) : m_state(new state_t) {
    const EVP_MD* md = algorithmNamed(algorithm);
    m_state->context = md ? EVP_MD_CTX_new() : nullptr;
    if (!m_state->context || EVP_DigestInit_ex(m_state->context, md, nullptr) != 1) {
        ERR_clear_error();
        m_state->failed = true;
    }
}

digest_t::~digest_t() {
    EVP_MD_CTX_free(m_state->context);
    delete m_state;
}

bool digest_t::update(const void* data, std::size_t size) {
    if (m_state->failed || m_state->finished) return false;
    if (EVP_DigestUpdate(m_state->context, data, size) != 1) {
        ERR_clear_error();
        m_state->failed = true;
        return false;
    }
    return true;
}

bool digest_t::update_from_file(const path_t& file, unsigned int chunkSize) {
    if (m_state->failed || m_state->finished) return false;
    if (chunkSize == 0 || file.empty()) {
        m_state->failed = true;
        return false;
    }
    posix::FileStatus status;
    const posix::FileDescriptor fd = posix::openRegularFile(file.c_str(), status);
    if (!fd.isOpen()) {
        m_state->failed = true;
        return false;
    }
    posix::adviseSequentialReading(fd.get());
    const std::size_t bufferSize = readBufferSize(status.size);
    const std::unique_ptr<unsigned char, decltype(&std::free)> buffer(
        static_cast<unsigned char*>(std::aligned_alloc(kPageSize, bufferSize)), &std::free);
    if (!buffer) {
        m_state->failed = true;
        return false;
    }
    const std::size_t piece = std::min<std::size_t>(chunkSize, bufferSize);
    for (;;) {
        const std::ptrdiff_t count = posix::readSome(fd.get(), buffer.get(), bufferSize);
        if (count == 0) return true;
        if (count < 0) {
            m_state->failed = true;
            return false;
        }
        const std::size_t got = static_cast<std::size_t>(count);
        for (std::size_t fed = 0; fed < got; fed += piece)
            if (!update(buffer.get() + fed, std::min(piece, got - fed))) return false;
    }
}

std::string digest_t::get_digest_base16() {
    if (m_state->failed) return std::string();
    if (!m_state->finished) {
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned int length = 0;
        if (EVP_DigestFinal_ex(m_state->context, digest, &length) != 1) {
            ERR_clear_error();
            m_state->failed = true;
            return std::string();
        }
        static const char kHexDigits[] = "0123456789abcdef";
        m_state->hex.reserve(2 * length);
        for (unsigned int i = 0; i < length; ++i) {
            m_state->hex.push_back(kHexDigits[digest[i] >> 4]);
            m_state->hex.push_back(kHexDigits[digest[i] & 0x0f]);
        }
        m_state->finished = true;
    }
    return m_state->hex;
}

md5_t::md5_t() : digest_t("MD5") {}

sha1_t::sha1_t() : digest_t("SHA1") {}

}  // namespace mulkit2
