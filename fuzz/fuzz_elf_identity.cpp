// The ELF identity reader (and the symbol file validator over it) on arbitrary bytes.
//
// Properties, besides not crashing, not leaking and staying within the memory limit
// (libFuzzer's -rss_limit_mb: no header makes the reader allocate what it claims):
// - the image read from memory and the same bytes read as a file say the same;
// - what is read is well formed: the status is ELF or not ELF, a build-id is lower-case
//   hex of whole bytes, a debug link names no directory, an ELF file has a class;
// - the symbol file validator judges the file without throwing: it accepts it only when
//   the build-id it expects is the file's.
#include <string>

#include "elf/elf_identity_reader.h"
#include "ff_identity.h"
#include "fuzz_support.h"

namespace {

using namespace FF_2_13;

class Info : public IErrorInfoContainer {
public:
    void setSeverity(severity_t) override {}
    void setErrorMessage(const char*) override {}
};

bool sameIdentity(const ElfIdentity& a, const ElfIdentity& b) {
    return a.status == b.status && a.buildId == b.buildId && a.debugLink == b.debugLink &&
           a.debugLinkCrc == b.debugLinkCrc && a.elfClass == b.elfClass && a.machine == b.machine &&
           a.hasDebugInfo == b.hasDebugInfo;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const ElfIdentity image = readElfIdentity(data, size);
    FUZZ_CHECK(image.status == irsElf || image.status == irsNotElf, "a status of its own");
    FUZZ_CHECK(image.buildId.size() % 2 == 0 &&
                   image.buildId.find_first_not_of("0123456789abcdef") == std::string::npos,
               "a build-id that is not lower-case hex of whole bytes");
    FUZZ_CHECK(image.debugLink.find('/') == std::string::npos, "a debug link with a directory");
    FUZZ_CHECK(image.status != irsElf || image.elfClass == 1 || image.elfClass == 2,
               "an ELF file without a class");

    fffuzz::clearScratch();
    const std::string file = fffuzz::writeScratchFile("candidate", data, size);
    FUZZ_CHECK(sameIdentity(image, readElfIdentity(file.c_str())),
               "the file and its image read differently");

    const ObjectPtr<IFileIdentity> expected = IFileIdentity::fromBuildId("0123456789abcdef");
    SymbolFileIdentityValidator validator(expected, nullptr);
    Info info;
    const unsigned int verdict = validator.validate(file.c_str(), info);
    FUZZ_CHECK(verdict != vrValid || image.buildId == "0123456789abcdef",
               "a symbol file of another build accepted");
    return 0;
}
