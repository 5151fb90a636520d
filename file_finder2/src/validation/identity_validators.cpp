// The identity validators: a symbol file or a binary must be the file the binary was built
// with. Every refusal is hard: a file of another build is never the right one.
#include <cstdio>

#include "elf/elf_identity_reader.h"
#include "elf/file_crc32.h"
#include "ff_identity.h"
#include "platform/posix.h"
#include "validation/identity_messages.h"
#include "validation/message_mgr.h"

namespace FF_2_13 {

namespace {

unsigned int refuse(IErrorInfoContainer& info, const std::string& text) {
    info.setSeverity(svHard);
    info.setErrorMessage(text.c_str());
    return vrInvalid;
}

unsigned int refuse(IErrorInfoContainer& info, identity_message_t kind, const char* name,
                    const std::string& found, const std::string& expected) {
    return refuse(info, identityMessageText(kind, name, found.c_str(), expected.c_str()));
}

// The text of a message kind of the message manager, or "%" + its identifier.
template <class Message>
std::string managerText(const ObjectPtr<Message>& message, const char* name, const char* id) {
    MsgContainer text;
    if (message) message->fillMessage(text, name);
    return text.get() ? text.get() : std::string("%") + id;
}

std::string crcText(std::uint32_t crc) {
    char text[9];
    std::snprintf(text, sizeof text, "%08x", crc);
    return text;
}

// Refuses a candidate of another class or machine than `expected`, when it knows them.
bool refusedForTarget(const ElfIdentity& candidate, const ObjectPtr<IFileIdentity>& expected,
                      const char* name, IErrorInfoContainer& info) {
    if (!expected || expected->elfClass() == 0) return false;
    if (candidate.elfClass == expected->elfClass() && candidate.machine == expected->machine())
        return false;
    refuse(info, imElfTargetMismatch, name,
           describeElfTarget(candidate.elfClass, candidate.machine), expected->target());
    return true;
}

// The same file on disk (device and inode), whatever the names.
bool sameFile(const char* a, const std::string& b) {
    posix::FileStatus first, second;
    return !b.empty() && posix::statFile(a, first) && posix::statFile(b.c_str(), second) &&
           first.device == second.device && first.inode == second.inode;
}

std::string buildIdOrNone(const std::string& buildId) {
    return buildId.empty() ? "none" : buildId;
}

}  // namespace

// ---- SymbolFileIdentityValidator -------------------------------------------------------

SymbolFileIdentityValidator::SymbolFileIdentityValidator(const ObjectPtr<IFileIdentity>& binary,
                                                         const char* binaryPath)
    : m_binary(binary), m_binaryPath(binaryPath ? binaryPath : "") {}

unsigned int SymbolFileIdentityValidator::validate(const char* name, IErrorInfoContainer& info) {
    const ElfIdentity candidate = readElfIdentity(name);
    if (candidate.status != irsElf)
        return refuse(info, managerText(IMessageMgr::create()->getInvalidSymbolFileMessage(), name,
                                        "InvalidSymbolFile"));
    if (refusedForTarget(candidate, m_binary, name, info)) return vrInvalid;
    if (!candidate.hasDebugInfo) return refuse(info, imNoDebugInformation, name, "", "");

    const std::string expectedId = m_binary ? m_binary->buildId() : "";
    if (!expectedId.empty()) {
        // objcopy keeps the note in the debug file: one without it was not split from here.
        // This comes before the binary itself: a path whose file was replaced since the
        // identity was read (a library updated under a running process) is not the binary.
        if (candidate.buildId == expectedId) return vrValid;
        return refuse(info, imSymBuildIdMismatch, name, buildIdOrNone(candidate.buildId),
                      expectedId);
    }
    // A binary that carries its own debug information is its own symbol file.
    if (sameFile(name, m_binaryPath)) return vrValid;
    if (!m_binary) return vrUndecided;
    if (m_binary->hasDebugLinkCrc()) {
        std::uint32_t crc = 0;
        if (!fileCrc32(name, crc))
            return refuse(info, managerText(IMessageMgr::create()->getInvalidSymbolFileMessage(),
                                            name, "InvalidSymbolFile"));
        if (crc == m_binary->debugLinkCrc()) return vrValid;
        return refuse(info, imDebugLinkCrcMismatch, name, crcText(crc),
                      crcText(m_binary->debugLinkCrc()));
    }
    return vrUndecided;  // the binary names nothing to compare with
}

// ---- BinaryIdentityValidator -----------------------------------------------------------

BinaryIdentityValidator::BinaryIdentityValidator(const ObjectPtr<IFileIdentity>& expected)
    : m_expected(expected) {}

unsigned int BinaryIdentityValidator::validate(const char* name, IErrorInfoContainer& info) {
    const ElfIdentity candidate = readElfIdentity(name);
    if (candidate.status != irsElf)
        return refuse(info, managerText(IMessageMgr::create()->getFileIsNotABinaryModuleMessage(),
                                        name, "FileIsNotABinaryModule"));
    if (refusedForTarget(candidate, m_expected, name, info)) return vrInvalid;
    const std::string expectedId = m_expected ? m_expected->buildId() : "";
    if (expectedId.empty()) return vrUndecided;
    if (candidate.buildId == expectedId) return vrValid;
    return refuse(info, imBinBuildIdMismatch, name, buildIdOrNone(candidate.buildId), expectedId);
}

}  // namespace FF_2_13
