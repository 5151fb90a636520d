// Checksum values and the process's checksum calculator.
#include <mulkit2/digest.h>
#include <strings.h>
#include <atomic>

#include "files/checksum_calculator.h"

namespace FF_2_13 {

namespace {

// Files are hashed in pieces of this size, never held in memory whole.
constexpr unsigned int kHashChunkSize = 4096;

std::atomic<ChecksumCalculator::DestructionHook> g_destructionHook{nullptr};

template <class Digest>
ObjectPtr<IChecksum> digestOfFile(const char* name, checksum_type_t type) {
    if (!name) return ObjectPtr<IChecksum>();
    Digest digest;
    // A missing, unreadable or special file has no checksum: never the digest of nothing.
    if (!digest.update_from_file(mulkit2::path_t(name), kHashChunkSize))
        return ObjectPtr<IChecksum>();
    const std::string hex = digest.get_digest_base16();
    if (hex.empty()) return ObjectPtr<IChecksum>();
    return ObjectPtr<IChecksum>(new Checksum(hex.c_str(), type));
}

}  // namespace

bool Checksum::isEqualTo(const IChecksum& other) const {
    if (other.type() != m_type) return false;
    const char* otherValue = other.value();
    return otherValue && ::strcasecmp(m_value.c_str(), otherValue) == 0;
}

FFLock g_checkSumCalcLock;
ChecksumCalculator* ChecksumCalculator::s_instance = nullptr;

ObjectPtr<IChecksumCalculator> IChecksumCalculator::create() {
    FFLockWrap guard(&g_checkSumCalcLock);
    ChecksumCalculator* live = ChecksumCalculator::s_instance;
    // A count that was zero before our reference means the last holder has let go and
    // the instance is on its way into its destructor (which waits for this lock): it
    // must not be handed out. Its destructor will not clear s_instance once it is no
    // longer the stored instance.
    if (live && live->addRef() > 1) {
        ObjectPtr<IChecksumCalculator> result(live);
        live->release();  // the probe's reference; `result` keeps the object alive
        return result;
    }
    ChecksumCalculator::s_instance = new ChecksumCalculator();
    return ObjectPtr<IChecksumCalculator>(ChecksumCalculator::s_instance);
}

ChecksumCalculator::ChecksumCalculator() : m_lock(&g_checkSumCalcLock) {}

ChecksumCalculator::~ChecksumCalculator() {
    if (DestructionHook hook = g_destructionHook.load()) hook();
    FFLockWrap guard(m_lock);
    if (s_instance == this) s_instance = nullptr;
}

void ChecksumCalculator::setDestructionHook(DestructionHook hook) {
    g_destructionHook.store(hook);
}

ObjectPtr<IChecksum> ChecksumCalculator::calculateChecksum(const char* name, checksum_type_t type) {
    switch (type) {
        case ctMD5:
            return calculateMd5Checksum(name);
        case ctSHA1:
            return calculateSHA1Checksum(name);
        case ctCRC32:
            return calculateCRC32Checksum(name);
    }
    return ObjectPtr<IChecksum>();
}

ObjectPtr<IChecksum> ChecksumCalculator::fromString(checksum_type_t type, const char* text) {
    if (!text) return ObjectPtr<IChecksum>();
    return ObjectPtr<IChecksum>(new Checksum(text, type));
}

ObjectPtr<IChecksum> ChecksumCalculator::calculateMd5Checksum(const char* name) {
    return digestOfFile<mulkit2::md5_t>(name, ctMD5);
}

ObjectPtr<IChecksum> ChecksumCalculator::calculateSHA1Checksum(const char* name) {
    return digestOfFile<mulkit2::sha1_t>(name, ctSHA1);
}

// CRC32 is a type a client may give (fromString), but it is never computed: every
// comparison against an expected CRC32 checksum stays undecided.
ObjectPtr<IChecksum> ChecksumCalculator::calculateCRC32Checksum(const char*) {
    return ObjectPtr<IChecksum>();
}

}  // namespace FF_2_13
