// Checksum values and the process's checksum calculator.
#pragma once

#include <string>

#include "ff_checksum.h"
#include "ff_lock.h"

namespace FF_2_13 {

class Checksum : public RefCountImpl<IChecksum> {
public:
    Checksum(const char* value, checksum_type_t type) : m_value(value), m_type(type) {}

    checksum_type_t type() const override { return m_type; }
    const char* value() const override { return m_value.c_str(); }
    bool isEqualTo(const IChecksum& other) const override;

private:
    std::string m_value;
    checksum_type_t m_type;
};

/// Guards s_instance: its hand-out in create() and its clearing in the destructor.
extern FFLock g_checkSumCalcLock;

/// One live instance at a time (s_instance), shared by its holders. The last release
/// destroys it; the destructor clears s_instance under g_checkSumCalcLock, and create()
/// never hands out an instance whose count already reached zero.
class ChecksumCalculator : public RefCountImpl<IChecksumCalculator> {
public:
    ChecksumCalculator();
    ~ChecksumCalculator() override;

    ObjectPtr<IChecksum> calculateChecksum(const char* name, checksum_type_t type) override;
    ObjectPtr<IChecksum> fromString(checksum_type_t type, const char* text) override;

    ObjectPtr<IChecksum> calculateMd5Checksum(const char* name);
    ObjectPtr<IChecksum> calculateSHA1Checksum(const char* name);
    ObjectPtr<IChecksum> calculateCRC32Checksum(const char* name);

    /// The live calculator, or null. Guarded by g_checkSumCalcLock.
    static ChecksumCalculator* s_instance;

    /// Test seam: called by the destructor before it takes g_checkSumCalcLock (the count
    /// has reached zero by then). Null by default; set it while no calculator is dying.
    using DestructionHook = void (*)();
    static void setDestructionHook(DestructionHook hook);

private:
    ILock* m_lock;
};

}  // namespace FF_2_13
