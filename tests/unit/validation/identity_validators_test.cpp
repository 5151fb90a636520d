// The identity validators and the validator chain, on tiny shared objects the compiler
// and binutils build here: two builds of one library, split debug files, a library
// without a build-id, one without debug information.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "callback_doubles.h"
#include "ff_identity.h"
#include "ff_search.h"
#include "ff_searchdirs.h"
#include "ff_searchenv.h"
#include "ff_validators.h"
#include "temp_dir.h"

using namespace FF_2_13;

namespace {

class Info : public IErrorInfoContainer {
public:
    void setSeverity(severity_t value) override { severity = value; }
    void setErrorMessage(const char* text) override { message = text; }
    severity_t severity = svUnspecified;
    std::string message;
};

// Builds, once for all tests: v1/libE.so (split: libE.so.debug beside it, linked by
// build-id and debug link), v2/libE.so (another body, its own debug file), nb/libN.so
// and nb2/libN.so (no build-id, split the same way), withdebug.so (v2's body, not split),
// plain.so (neither -g nor a build-id) and a copy of a debug file for another machine.
class IdentityTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir = new fftest::TempDir;
        dir->makeFile("a.c", "int f(void) { return 1; }\n");
        dir->makeFile("b.c", "int f(void) { return 2; }\nint g(void) { return 3; }\n");
        const std::string split =
            "split() { objcopy --only-keep-debug $1 $1.debug && "
            "objcopy --strip-debug --add-gnu-debuglink=$1.debug $1; }; ";
        built = shell(split +
                      "mkdir v1 v2 nb nb2 && "
                      "cc -g -shared -fPIC -Wl,--build-id -o v1/libE.so a.c && split v1/libE.so && "
                      "cc -g -shared -fPIC -Wl,--build-id -o v2/libE.so b.c && split v2/libE.so && "
                      "cc -g -shared -fPIC -Wl,--build-id=none -o nb/libN.so a.c && "
                      "split nb/libN.so && "
                      "cc -g -shared -fPIC -Wl,--build-id=none -o nb2/libN.so b.c && "
                      "split nb2/libN.so && "
                      "cc -g -shared -fPIC -Wl,--build-id -o withdebug.so b.c && "
                      "cc -shared -fPIC -Wl,--build-id=none -o plain.so a.c && "
                      "cp v1/libE.so.debug v1/other-machine.debug && "
                      "printf '\\050' | dd of=v1/other-machine.debug bs=1 seek=18 conv=notrunc "
                      "2>/dev/null");
    }
    static void TearDownTestSuite() {
        delete dir;
        dir = nullptr;
    }
    void SetUp() override {
        if (!built) GTEST_SKIP() << "cc or objcopy is missing or failed";
    }
    static bool shell(const std::string& command) {
        return std::system(("cd '" + dir->path() + "' && { " + command + "; }").c_str()) == 0;
    }
    static std::string at(const std::string& relative) { return *dir / relative; }
    static ObjectPtr<IFileIdentity> identityOf(const std::string& relative) {
        return IFileIdentity::readFile(at(relative).c_str());
    }

    static fftest::TempDir* dir;
    static bool built;
};

fftest::TempDir* IdentityTest::dir = nullptr;
bool IdentityTest::built = false;

}  // namespace

TEST_F(IdentityTest, ReadsWhatTheLinkerAndObjcopyWroteAlsoFromTheFirstPageAlone) {
    const ObjectPtr<IFileIdentity> binary = identityOf("v1/libE.so");
    ASSERT_EQ(std::string(binary->buildId()).size(), 40u);  // the linker's default, SHA-1
    EXPECT_STREQ(binary->debugLink(), "libE.so.debug");
    EXPECT_FALSE(binary->hasDebugInfo());
    EXPECT_STREQ(identityOf("v1/libE.so.debug")->buildId(), binary->buildId());
    // The first page of a module, as a process maps it, still tells its build-id.
    std::ifstream in(at("v1/libE.so"), std::ios::binary);
    std::string page(4096, '\0');
    in.read(&page[0], static_cast<std::streamsize>(page.size()));
    EXPECT_STREQ(
        IFileIdentity::readImage(page.data(), static_cast<std::size_t>(in.gcount()))->buildId(),
        binary->buildId());
}

TEST_F(IdentityTest, SymbolFilesMustBeSplitFromTheBinaryOrBeIt) {
    const std::string text = dir->makeFile("libc.so", "/* GNU ld script */\nGROUP ( x )\n");
    const struct {
        const char* binary;  // "" for none
        const char* candidate;
        unsigned int expected;
        const char* message;  // a part of the refusal's message
    } cases[] = {
        {"v1/libE.so", "v1/libE.so.debug", vrValid, ""},
        {"v1/libE.so", "v2/libE.so.debug", vrInvalid, "is not the build ID of the binary"},
        {"v2/libE.so", "v1/libE.so.debug", vrInvalid, "is not the build ID of the binary"},
        {"v1/libE.so", "withdebug.so", vrInvalid, "is not the build ID of the binary"},
        {"withdebug.so", "withdebug.so", vrValid, ""},  // its own symbol file
        {"plain.so", "plain.so", vrInvalid, "carries no debug information"},
        {"v1/libE.so", "v1/libE.so", vrInvalid, "carries no debug information"},
        {"v1/libE.so", "libc.so", vrInvalid, "is not a valid symbol file"},
        {"v1/libE.so", "v1/other-machine.debug", vrInvalid, "ARM, the binary for"},
        {"nb/libN.so", "nb/libN.so.debug", vrValid, ""},  // by the debug link's CRC
        {"nb/libN.so", "nb2/libN.so.debug", vrInvalid, "the binary's debug link records"},
        {"nb/libN.so", "v1/libE.so.debug", vrInvalid, "the binary's debug link records"},
        {"plain.so", "v1/libE.so.debug", vrUndecided, ""},  // nothing to compare with
        {"", "v1/libE.so.debug", vrUndecided, ""},
        {"missing.so", "v2/libE.so.debug", vrUndecided, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.binary) + " <- " + c.candidate);
        const std::string binaryPath = *c.binary ? at(c.binary) : "";
        SymbolFileIdentityValidator validator(
            *c.binary ? identityOf(c.binary) : ObjectPtr<IFileIdentity>(), binaryPath.c_str());
        Info info;
        EXPECT_EQ(validator.validate(at(c.candidate).c_str(), info), c.expected);
        EXPECT_NE(info.message.find(c.message), std::string::npos) << info.message;
        if (c.expected == vrInvalid) {
            EXPECT_EQ(info.severity, svHard);
            EXPECT_NE(info.message.find(at(c.candidate)), std::string::npos) << info.message;
        }
    }
}

TEST_F(IdentityTest, BinariesMustHaveTheExpectedBuildIdAndTarget) {
    const ObjectPtr<IFileIdentity> v1 = identityOf("v1/libE.so");
    const ObjectPtr<IFileIdentity> recorded = IFileIdentity::fromBuildId(v1->buildId());
    const struct {
        ObjectPtr<IFileIdentity> expected;
        const char* candidate;
        unsigned int result;
        const char* message;
    } cases[] = {
        {recorded, "v1/libE.so", vrValid, ""},
        {recorded, "v1/libE.so.debug", vrValid, ""},  // the same build; a client asks for code
        {recorded, "v2/libE.so", vrInvalid, "is not the expected build ID"},
        {recorded, "nb/libN.so", vrInvalid, "(none) is not the expected build ID"},
        {v1, "v1/other-machine.debug", vrInvalid, "ARM, the binary for"},
        {identityOf("nb/libN.so"), "nb2/libN.so", vrUndecided, ""},
        {ObjectPtr<IFileIdentity>(), "a.c", vrInvalid, "is not a binary module"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.candidate);
        BinaryIdentityValidator validator(c.expected);
        Info info;
        EXPECT_EQ(validator.validate(at(c.candidate).c_str(), info), c.result);
        EXPECT_NE(info.message.find(c.message), std::string::npos) << info.message;
    }
}

TEST(ValidatorChain, TheFirstRefusalWinsAndAnOutrightAcceptanceBeatsUndecided) {
    const struct {
        std::vector<unsigned int> answers;
        unsigned int result;
        size_t callsOfLast;
    } cases[] = {
        {{}, vrUndecided, 0},
        {{vrUndecided, vrValid}, vrValid, 1},
        {{vrValid, vrUndecided}, vrValid, 1},
        {{vrValid, vrInvalid}, vrInvalid, 1},
        {{vrInvalid, vrValid}, vrInvalid, 0},
        {{vrUndecided, vrUndecided}, vrUndecided, 1},
    };
    for (const auto& c : cases) {
        std::vector<std::unique_ptr<fftest::ValidatorCallback>> validators;
        ValidatorChain chain;
        for (unsigned int answer : c.answers) {
            validators.push_back(std::make_unique<fftest::ValidatorCallback>(answer));
            chain.add(validators.back().get());
        }
        chain.add(nullptr);
        Info info;
        EXPECT_EQ(chain.validate("x", info), c.result);
        if (!validators.empty()) {
            EXPECT_EQ(validators.back()->asked.size(), c.callsOfLast);
        }
    }
}
