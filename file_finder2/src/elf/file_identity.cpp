// IFileIdentity: reading one, or making one from a recorded build-id.
#include "elf/file_identity.h"

#include <cctype>
#include <utility>

namespace FF_2_13 {

FileIdentity::FileIdentity(ElfIdentity identity)
    : m_identity(std::move(identity)),
      m_target(describeElfTarget(m_identity.elfClass, m_identity.machine)) {}

ObjectPtr<IFileIdentity> IFileIdentity::readFile(const char* path) {
    return ObjectPtr<IFileIdentity>(new FileIdentity(readElfIdentity(path)));
}

ObjectPtr<IFileIdentity> IFileIdentity::readImage(const void* bytes, std::size_t size) {
    return ObjectPtr<IFileIdentity>(new FileIdentity(readElfIdentity(bytes, size)));
}

ObjectPtr<IFileIdentity> IFileIdentity::fromBuildId(const char* hex) {
    ElfIdentity identity;
    identity.status = irsRecorded;
    for (const char* c = hex; c && *c; ++c) {
        if (!std::isxdigit(static_cast<unsigned char>(*c))) return ObjectPtr<IFileIdentity>();
        identity.buildId += static_cast<char>(std::tolower(static_cast<unsigned char>(*c)));
    }
    // Two bytes at least: ".build-id/xx/rest" needs a rest.
    if (identity.buildId.size() < 4 || identity.buildId.size() % 2 != 0)
        return ObjectPtr<IFileIdentity>();
    return ObjectPtr<IFileIdentity>(new FileIdentity(std::move(identity)));
}

}  // namespace FF_2_13
