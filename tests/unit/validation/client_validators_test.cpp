// The built-in checks in front of the client's callback, and the client-side validators.
#include "ff_validators.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "callback_doubles.h"
#include "catalog_guard.h"
#include "temp_dir.h"
#include "unprivileged.h"
#include "validation/validator.h"
#include "validation/validator_callback_decorator.h"

using namespace FF_2_13;

namespace {

// "result severity message" of one call; the callback may be a temporary.
template <class Callback>
std::string judge(Callback&& callback, const std::string& name) {
    Validator::ErrorInfoContainer info;
    const unsigned int result = callback.validate(name.c_str(), info);
    return std::to_string(result) + " " + std::to_string(info.m_severity) + " " +
           info.getErrorMessage();
}

void setTime(const std::string& path, time_t seconds) {
    const struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(0, ::utimensat(AT_FDCWD, path.c_str(), times, 0)) << path;
}

}  // namespace

TEST(ValidatorCallbackDecorator, ChecksTheFileBeforeTheClientIsAsked) {
    fftest::TempDir dir;
    const std::string file = dir.makeFile("libx.so"), fifo = dir / "fifo";
    ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
    fftest::ValidatorCallback client(vrValid);
    for (const std::string& name : {dir.path(), fifo, dir / "missing"})
        EXPECT_EQ("1 0 The file " + name + " does not exist or is not a regular file.",
                  judge(ValidatorCallbackDecorator(&client), name));
    EXPECT_TRUE(client.asked.empty());
    EXPECT_EQ("2 2 ", judge(*IValidatorCallbackDecorator::create(nullptr), file));
    for (unsigned int answer : {0u, 1u, 2u}) {
        fftest::ValidatorCallback other(answer);
        EXPECT_EQ(answer, judge(ValidatorCallbackDecorator(&other), file)[0] - '0');
    }
    fftest::openToEveryone(dir.path());
    ASSERT_EQ(0, ::chmod(file.c_str(), 0));
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  fftest::CatalogGuard noCatalogs(/*removeAll=*/true);
                  return judge(ValidatorCallbackDecorator(nullptr), file) == "1 0 %CantOpenFile" &&
                         judge(ValidatorCallbackDecorator(nullptr), fifo) ==
                             "1 0 %FileDoesNotExist";
              }));
}

TEST(ChecksumValidator, ComparesWithTheExpectedChecksumOfItsType) {
    fftest::TempDir dir;
    const std::string file = dir.makeFile("libx.so", "abc");
    ObjectPtr<IChecksumCalculator> calc = IChecksumCalculator::create();
    ObjectPtr<IChecksum> wrong = calc->fromString(ctSHA1, "0000");
    EXPECT_EQ("2 2 ", judge(ChecksumValidator(scBinaryFiles, {}), file));
    EXPECT_EQ("2 2 ",
              judge(ChecksumValidator(scBinaryFiles, calc->fromString(ctCRC32, "352441c2")), file))
        << "CRC32 is never computed";
    EXPECT_EQ("2 2 ", judge(ChecksumValidator(scBinaryFiles, wrong), dir / "missing"));
    EXPECT_EQ("0 2 ",
              judge(ChecksumValidator(scSymbolFiles,
                                      calc->fromString(ctMD5, "900150983CD24FB0D6963F7D28E17F72")),
                    file));
    const std::pair<search_category_t, std::string> mismatches[] = {
        {scBinaryFiles, "1 0 The checksum of the binary file " + file},
        {scSymbolFiles, "1 0 The checksum of the symbol file " + file},
        {scSourceFiles, "1 1 The checksum of the source file " + file},
        {scAllFiles, "1 2 %ChecksumMismatch"},
    };
    for (const auto& [category, start] : mismatches)
        EXPECT_EQ(start, judge(ChecksumValidator(category, wrong), file).substr(0, start.size()));
}

TEST(SourceFileUpToDateCheckValidator, RejectsSourcesNewerThanTheReferenceSaveInExceptions) {
    fftest::TempDir dir;
    const std::string binary = dir.makeFile("bin/libx.so"), source = dir.makeFile("src/sys/x.c");
    dir.makeSymlink("linked", dir / "src");
    setTime(binary, 1000000);
    for (bool acceptWhenOlder : {true, false}) {
        SourceFileUpToDateCheckValidator validator(binary.c_str(), acceptWhenOlder);
        const std::string notNewer = acceptWhenOlder ? "0 2 " : "2 2 ";
        setTime(source, 999999);
        EXPECT_EQ(notNewer, judge(validator, source));
        setTime(source, 1000000);  // the same second is not newer
        EXPECT_EQ(notNewer, judge(validator, source));
        EXPECT_EQ(notNewer, judge(validator, dir / "missing.c"));  // time 0: never newer
        setTime(source, 1000001);
        EXPECT_EQ(0u, judge(validator, source).find("1 1 The source file was changed after"));
        validator.addTimeCheckExceptionDir(dir / "other");
        EXPECT_EQ('1', judge(validator, source)[0]);
        validator.addTimeCheckExceptionDir(dir / "src");
        EXPECT_EQ(notNewer, judge(validator, source));  // excused: as if not newer
        EXPECT_EQ(notNewer, judge(validator, dir / "linked/sys/x.c")) << "through a link too";
        EXPECT_FALSE(validator.isTimeCheckException(nullptr));
    }
    for (const char* reference : {static_cast<const char*>(nullptr), "/no/such/binary"})
        EXPECT_EQ(0u, judge(SourceFileUpToDateCheckValidator(reference, true), source)
                          .find("2 1 There is no reference file"));
    fftest::CatalogGuard noCatalogs(/*removeAll=*/true);
    EXPECT_EQ("2 1 %NoDataForSourceFileValidation",
              judge(SourceFileUpToDateCheckValidator(nullptr, true), source));
}

TEST(SourceFileTimeAndSizeMatchValidator, ExactTimeAndSizeOrNothingRecorded) {
    fftest::TempDir dir;
    const std::string source = dir.makeFile("src/x.c", "12345");
    setTime(source, 5000);
    // Time, size, the verdict's start, and a word its message holds.
    const std::tuple<long long, unsigned long long, const char*, const char*> cases[] = {
        {0, 0, "2 2 ", ""},     {5000, 0, "0 2 ", ""},     {0, 5, "0 2 ", ""},
        {5000, 5, "0 2 ", ""},  {4999, 0, "1 1 ", "time"}, {5001, 5, "1 1 ", "time"},
        {0, 6, "1 1 ", "size"}, {5000, 4, "1 1 ", "size"},
    };
    for (const auto& [time, size, start, word] : cases) {
        const std::string verdict = judge(SourceFileTimeAndSizeMatchValidator(time, size), source);
        EXPECT_EQ(0u, verdict.find(start)) << time << " " << size << ": " << verdict;
        EXPECT_NE(std::string::npos, verdict.find(word)) << verdict;
    }
    SourceFileTimeAndSizeMatchValidator excused(4000, 6), excusedTimeOnly(4000, 0);
    excused.addTimeCheckExceptionDir(dir / "src");
    excusedTimeOnly.addTimeCheckExceptionDir(dir / "src");
    EXPECT_EQ('1', judge(excused, source)[0]) << "sizes are never excused";
    EXPECT_EQ('0', judge(excusedTimeOnly, source)[0]);
    fftest::CatalogGuard noCatalogs(/*removeAll=*/true);
    EXPECT_EQ("1 1 %ModificationTimeOrSizeMismatch",
              judge(SourceFileTimeAndSizeMatchValidator(1, 0), source));
}
