// File: ff_checksum.h
//
// Checksums tie a candidate file to the file a result was recorded from. A client (or
// its file retriever) supplies the expected checksum; the validators compute the
// candidate's checksum of the same type and compare.
//
//   ObjectPtr<IChecksumCalculator> calculator = IChecksumCalculator::create();
//   ObjectPtr<IChecksum> expected = calculator->fromString(ctMD5, "9E107D9D372BB6826BD81D3542A419D6");
//   ObjectPtr<IChecksum> actual = calculator->calculateChecksum("/usr/lib/libx.so", ctMD5);
//   bool same = actual && actual->isEqualTo(*expected);   // case-insensitive
#pragma once

#include "ff_object.h"
#include "ff_types.h"

namespace FF_2_13 {

/// An immutable checksum value.
class FF_EXPORT IChecksum : public IFFObject {
public:
    virtual checksum_type_t type() const = 0;
    /// Hexadecimal digest text (lower case when computed; as given when parsed).
    virtual const char* value() const = 0;
    /// Same type and the same text ignoring ASCII letter case.
    virtual bool isEqualTo(const IChecksum& other) const = 0;
};

/// The process's checksum calculator: one live instance at a time, shared by its holders
/// and made anew by create() after the last holder let go. Thread-safe.
class FF_EXPORT IChecksumCalculator : public IFFObject {
public:
    /// The checksum of the whole file, read in 4096-byte chunks. Empty for a null name, a
    /// missing, unreadable or non-regular file (a directory, a FIFO), ctCRC32 (never
    /// computed) or an unknown type: never the checksum of nothing. The calculator itself
    /// is not locked during the computation; any number of threads may compute at once.
    virtual ObjectPtr<IChecksum> calculateChecksum(const char* name, checksum_type_t type) = 0;
    /// A checksum from its text, unchecked. Empty for a null text.
    virtual ObjectPtr<IChecksum> fromString(checksum_type_t type, const char* text) = 0;

    static ObjectPtr<IChecksumCalculator> create();
};

}  // namespace FF_2_13
