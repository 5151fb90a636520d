// The built-in checks in front of the client's callback, and the client-side validators.
#include "ff_validators.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "callback_doubles.h"
#include "catalog_guard.h"
#include "validation/validator.h"
#include "validation/validator_callback_decorator.h"
#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;

namespace {

struct Verdict {
    unsigned int result;
    severity_t severity;
    std::string message;
};

// Also takes a validator made for the one call.
template <class Callback>
Verdict judge(Callback&& callback, const std::string& name) {
    Validator::ErrorInfoContainer info;
    const unsigned int result = callback.validate(name.c_str(), info);
    return {result, info.m_severity, info.getErrorMessage()};
}

void setModificationTime(const std::string& path, time_t seconds) {
    const struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(0, ::utimensat(AT_FDCWD, path.c_str(), times, 0)) << path;
}

}  // namespace

TEST(ValidatorCallbackDecorator, DirectoriesAndSpecialFilesAreReportedAsMissing) {
    fftest::TempDir dir;
    const std::string fifo = dir / "fifo";
    ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
    ValidatorCallbackDecorator decorator(nullptr);
    for (const std::string& name : {dir.path(), fifo, dir / "missing"}) {
        const Verdict v = judge(decorator, name);
        EXPECT_EQ(vrInvalid, v.result) << name;
        EXPECT_EQ(svHard, v.severity) << name;
        EXPECT_EQ("The file " + name + " does not exist or is not a regular file.", v.message);
    }
    fftest::CatalogGuard noCatalogs(/*removeAll=*/true);
    EXPECT_EQ("%FileDoesNotExist", judge(ValidatorCallbackDecorator(nullptr), dir.path()).message);
}

TEST(ValidatorCallbackDecorator, ReadableFileIsUndecidedUnlessTheClientDecides) {
    fftest::TempDir dir;
    const std::string file = dir.makeFile("libx.so");
    EXPECT_EQ(vrUndecided, judge(*IValidatorCallbackDecorator::create(nullptr), file).result);
    for (unsigned int answer : {0u, 1u, 2u}) {
        fftest::ValidatorCallback client(answer);
        EXPECT_EQ(answer, judge(ValidatorCallbackDecorator(&client), file).result);
        EXPECT_EQ(1u, client.asked.size());
    }
    fftest::ValidatorCallback client(vrValid);
    EXPECT_EQ(vrInvalid, judge(ValidatorCallbackDecorator(&client), dir.path()).result);
    EXPECT_TRUE(client.asked.empty()) << "the built-in checks come first";
}

TEST(ValidatorCallbackDecorator, UnreadableFileIsRejectedAsNotReadable) {
    fftest::TempDir dir;
    const std::string file = dir.makeFile("secret.so");
    fftest::openToEveryone(dir.path());
    ASSERT_EQ(0, ::chmod(file.c_str(), 0));
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  const Verdict v = judge(*IValidatorCallbackDecorator::create(nullptr), file);
                  fftest::CatalogGuard noCatalogs(/*removeAll=*/true);
                  return v.result == vrInvalid && v.severity == svHard &&
                         v.message == "The file " + file + " cannot be opened for reading." &&
                         judge(*IValidatorCallbackDecorator::create(nullptr), file).message ==
                             "%CantOpenFile";
              }));
}

TEST(ChecksumValidator, ComparesWithTheExpectedChecksumOfItsType) {
    fftest::TempDir dir;
    const std::string file = dir.makeFile("libx.so", "abc");
    ObjectPtr<IChecksumCalculator> calc = IChecksumCalculator::create();
    ObjectPtr<IChecksum> right = calc->fromString(ctMD5, "900150983CD24FB0D6963F7D28E17F72");
    ObjectPtr<IChecksum> wrong = calc->fromString(ctSHA1, "0000");

    EXPECT_EQ(vrUndecided, judge(ChecksumValidator(scBinaryFiles, {}), file).result);
    EXPECT_EQ(
        vrUndecided,
        judge(ChecksumValidator(scBinaryFiles, calc->fromString(ctCRC32, "352441c2")), file).result)
        << "CRC32 is never computed";
    EXPECT_EQ(vrUndecided, judge(ChecksumValidator(scBinaryFiles, wrong), dir / "missing").result);
    EXPECT_EQ(vrValid, judge(ChecksumValidator(scSymbolFiles, right), file).result);

    struct Case {
        search_category_t category;
        severity_t severity;
        std::string message;
    };
    const Case cases[] = {
        {scBinaryFiles, svHard, "The checksum of the binary file " + file},
        {scSymbolFiles, svHard, "The checksum of the symbol file " + file},
        {scSourceFiles, svMild, "The checksum of the source file " + file},
        {scAllFiles, svUnspecified, "%ChecksumMismatch"},
    };
    for (const Case& c : cases) {
        const Verdict v = judge(ChecksumValidator(c.category, wrong), file);
        EXPECT_EQ(vrInvalid, v.result) << c.category;
        EXPECT_EQ(c.severity, v.severity) << c.category;
        EXPECT_EQ(0u, v.message.rfind(c.message, 0)) << v.message;
    }
    fftest::CatalogGuard noCatalogs(/*removeAll=*/true);
    EXPECT_EQ("%ChecksumMismatch", judge(ChecksumValidator(scSourceFiles, wrong), file).message);
}

TEST(SourceFileUpToDateCheckValidator, RejectsSourcesNewerThanTheReference) {
    fftest::TempDir dir;
    const std::string binary = dir.makeFile("bin/libx.so");
    const std::string source = dir.makeFile("src/x.c");
    setModificationTime(binary, 1000000);
    for (bool acceptWhenOlder : {true, false}) {
        SourceFileUpToDateCheckValidator validator(binary.c_str(), acceptWhenOlder);
        const unsigned int notNewer = acceptWhenOlder ? vrValid : vrUndecided;
        setModificationTime(source, 999999);
        EXPECT_EQ(notNewer, judge(validator, source).result);
        setModificationTime(source, 1000000);  // the same second is not newer
        EXPECT_EQ(notNewer, judge(validator, source).result);
        setModificationTime(source, 1000001);
        const Verdict v = judge(validator, source);
        EXPECT_EQ(vrInvalid, v.result);
        EXPECT_EQ(svMild, v.severity);
        EXPECT_EQ(0u, v.message.find("The source file was changed after")) << v.message;
        // A missing candidate counts as time 0: never newer.
        EXPECT_EQ(notNewer, judge(validator, dir / "missing.c").result);
    }
}

TEST(SourceFileUpToDateCheckValidator, WithoutAReferenceEveryAnswerIsUndecidedWithAReason) {
    fftest::TempDir dir;
    const std::string source = dir.makeFile("x.c");
    for (const char* reference : {static_cast<const char*>(nullptr), "/no/such/binary"}) {
        const Verdict v = judge(SourceFileUpToDateCheckValidator(reference, true), source);
        EXPECT_EQ(vrUndecided, v.result);
        EXPECT_EQ(svMild, v.severity);
        EXPECT_EQ(0u, v.message.find("There is no reference file")) << v.message;
    }
    fftest::CatalogGuard noCatalogs(/*removeAll=*/true);
    EXPECT_EQ("%NoDataForSourceFileValidation",
              judge(SourceFileUpToDateCheckValidator(nullptr, true), source).message);
}

TEST(SourceFileUpToDateCheckValidator, ExceptionDirectoryExcusesNewerSourcesAlsoThroughALink) {
    fftest::TempDir dir;
    const std::string binary = dir.makeFile("libx.so");
    const std::string source = dir.makeFile("include/sys/x.h");
    dir.makeSymlink("linked", dir / "include");
    setModificationTime(binary, 1000);
    setModificationTime(source, 2000);
    SourceFileUpToDateCheckValidator validator(binary.c_str(), false);
    validator.addTimeCheckExceptionDir(dir / "other");
    EXPECT_EQ(vrInvalid, judge(validator, source).result);
    validator.addTimeCheckExceptionDir(dir / "include");
    EXPECT_EQ(vrUndecided, judge(validator, source).result);
    EXPECT_EQ(vrUndecided, judge(validator, dir / "linked/sys/x.h").result);
    EXPECT_FALSE(validator.isTimeCheckException(nullptr));
}

TEST(SourceFileTimeAndSizeMatchValidator, ExactTimeAndSizeOrNothingRecorded) {
    fftest::TempDir dir;
    const std::string source = dir.makeFile("src/x.c", "12345");
    setModificationTime(source, 5000);
    struct Case {
        long long time;
        unsigned long long size;
        unsigned int result;
    };
    const Case cases[] = {
        {0, 0, vrUndecided},  {5000, 0, vrValid},   {0, 5, vrValid},   {5000, 5, vrValid},
        {4999, 0, vrInvalid}, {5001, 5, vrInvalid}, {0, 6, vrInvalid}, {5000, 4, vrInvalid},
    };
    for (const Case& c : cases) {
        const Verdict v = judge(SourceFileTimeAndSizeMatchValidator(c.time, c.size), source);
        EXPECT_EQ(c.result, v.result) << c.time << " " << c.size;
        if (c.result == vrInvalid) {
            EXPECT_EQ(svMild, v.severity);
            EXPECT_NE(std::string::npos,
                      v.message.find(c.size == 5 || c.size == 0 ? "time" : "size"))
                << v.message;
        }
    }
    SourceFileTimeAndSizeMatchValidator excused(4000, 6);
    excused.addTimeCheckExceptionDir(dir / "src");
    EXPECT_EQ(vrInvalid, judge(excused, source).result) << "sizes are never excused";
    SourceFileTimeAndSizeMatchValidator excusedTimeOnly(4000, 0);
    excusedTimeOnly.addTimeCheckExceptionDir(dir / "src");
    EXPECT_EQ(vrValid, judge(excusedTimeOnly, source).result);

    fftest::CatalogGuard noCatalogs(/*removeAll=*/true);
    EXPECT_EQ("%ModificationTimeOrSizeMismatch",
              judge(SourceFileTimeAndSizeMatchValidator(1, 0), source).message);
}
