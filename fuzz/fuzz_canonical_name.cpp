// getCanonicalName and the other name helpers of utils:: on arbitrary names.
//
// The input up to its first NUL is the name (the helpers take C strings); what follows
// the NUL is the second argument of addSubPart and changeFileNameExtension.
//
// Properties of the canonical name, besides not crashing:
// - the flag has no effect;
// - it is never longer than the name plus one byte;
// - it is idempotent, except where the rules themselves say otherwise (see below);
// - it compares equal to itself, and compareCanonicalFileNames gives -1, 0 or 1.
#include <cstring>
#include <string>

#include "ff_utils.h"
#include "fuzz_support.h"

namespace utils = FF_2_13::utils;

namespace {

// Names whose canonical form is canonicalised again differently, by design:
// - one whose last element is ".": only one trailing "." goes before normalising, and
//   normalising keeps a last ".", so "x/./" gives "x/." and that gives "x";
// - one that has become a foreign-style name ("\\srv..." or "C:\..."), such as
//   "a/../C:\x" whose canonical form "C:\x" then has its backslashes converted.
bool mayChangeWhenCanonicalisedAgain(const std::string& canonical) {
    const bool lastElementIsDot =
        canonical == "." ||
        (canonical.size() >= 2 && canonical.compare(canonical.size() - 2, 2, "/.") == 0);
    const bool foreignStyle =
        (canonical.size() >= 2 && canonical[0] == '\\' && canonical[1] == '\\') ||
        (canonical.size() >= 3 && canonical[1] == ':' && canonical[2] == '\\');
    return lastElementIsDot || foreignStyle;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const char* name = input.c_str();
    const size_t nameSize = std::strlen(name);
    const char* second = nameSize < size ? name + nameSize + 1 : "";

    const std::string canonical = utils::getCanonicalName(name, false);
    FUZZ_CHECK(utils::getCanonicalName(name, true) == canonical, "the flag changed the result");
    FUZZ_CHECK(canonical.size() <= nameSize + 1, "canonical name longer than the name plus one");
    FUZZ_CHECK(canonical.find('\0') == std::string::npos, "NUL in a canonical name");
    if (!mayChangeWhenCanonicalisedAgain(canonical))
        FUZZ_CHECK(utils::getCanonicalName(canonical.c_str(), false) == canonical,
                   "canonical name not idempotent");
    FUZZ_CHECK(utils::compareCanonicalFileNames(canonical.c_str(), canonical.c_str()) == 0,
               "canonical name differs from itself");
    const int order = utils::compareCanonicalFileNames(name, canonical.c_str());
    FUZZ_CHECK(order >= -1 && order <= 1, "comparison outside -1, 0, 1");
    FUZZ_CHECK(utils::compareCanonicalFileNames(canonical.c_str(), name) == -order,
               "comparison not antisymmetric");

    // The other text-only helpers: no crash, and a few facts that hold for every name.
    const std::string only = utils::getFileNameOnly(name);
    const std::string path = utils::getFileNamePath(name);
    const std::string base = utils::getFileNameBase(name);
    const std::string extension = utils::getFileNameExtension(name);
    FUZZ_CHECK(base + extension == only, "base and extension do not make the last element");
    FUZZ_CHECK(path.size() <= nameSize, "parent path longer than the name");
    (void)utils::changeFileNameExtension(name, second);
    const std::string joined = utils::addSubPart(name, second);
    FUZZ_CHECK(joined.size() <= nameSize + std::strlen(second) + 1, "join added more than one '/'");
    FUZZ_CHECK(utils::toUpper(name).size() == nameSize, "toUpper changed the length");
    FUZZ_CHECK(utils::isStringEmpty(name) == (nameSize == 0), "isStringEmpty is wrong");
    // Only a name that begins with '/' has a root directory ("//net" alone has none).
    FUZZ_CHECK(!utils::isAbsolutePath(name) || name[0] == '/', "isAbsolutePath is wrong");
    return 0;
}
