// The library's IFileIdentity: an ElfIdentity behind the public interface.
#pragma once

#include "elf/elf_identity_reader.h"

namespace FF_2_13 {

class FileIdentity : public RefCountImpl<IFileIdentity> {
public:
    explicit FileIdentity(ElfIdentity identity);

    identity_read_status_t status() const override { return m_identity.status; }
    const char* error() const override { return m_identity.error.c_str(); }
    const char* buildId() const override { return m_identity.buildId.c_str(); }
    const char* debugLink() const override { return m_identity.debugLink.c_str(); }
    bool hasDebugLinkCrc() const override { return m_identity.debugLinkCrc.has_value(); }
    unsigned int debugLinkCrc() const override { return m_identity.debugLinkCrc.value_or(0); }
    int elfClass() const override { return m_identity.elfClass; }
    int machine() const override { return m_identity.machine; }
    bool hasDebugInfo() const override { return m_identity.hasDebugInfo; }
    const char* target() const override { return m_target.c_str(); }

private:
    const ElfIdentity m_identity;
    const std::string m_target;
};

}  // namespace FF_2_13
