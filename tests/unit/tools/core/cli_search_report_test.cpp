// The file-finder command's words for steps and its table and JSON reports.
#include "core/search_report.h"

#include <gtest/gtest.h>

#include <sstream>

#include "core/step_names.h"

using namespace ffcli;

namespace {

std::vector<ResolveRow> sampleRows() {
    ResolveRow found;
    found.request.name = "/usr/lib/libc.so.6";
    found.outcome.path = "/usr/lib/libc.so.6";
    found.outcome.step = FF_2_13::ssAbsoluteNameLookup;
    ResolveRow missing;
    missing.request.kind = RequestKind::kSymbol;
    missing.request.name = ".build-id/ab/cd.debug";
    missing.request.binary = "/usr/lib/libc.so.6";
    ExpectedChecksum sum;
    std::string error;
    parseChecksum("md5:9e107d9d372bb6826bd81d3542a419d6", sum, error);
    missing.request.checksum = sum;
    missing.otherNames = {"libc.so.6.debug"};
    missing.outcome.rejected.push_back({"/usr/lib/debug/\x1b[31mx\xff", "%ChecksumMismatch",
                                        FF_2_13::svHard, FF_2_13::ssSystemDirs});
    return {found, missing};
}

}  // namespace

TEST(StepWords, ParseChangesAndNameEveryStep) {
    StepChanges changes;
    std::string error;
    ASSERT_TRUE(parseStepChanges("-system,+cache,archive", changes, error));
    ASSERT_TRUE(parseStepChanges("-archive", changes, error));  // a later word wins
    EXPECT_EQ(changes.enable, unsigned{FF_2_13::ssCacheSearchDir});
    EXPECT_EQ(changes.disable, unsigned{FF_2_13::ssSystemDirs | FF_2_13::ssArchiveSearchDirs});
    for (const char* bad : {"", "cache,", "systems", "+", "suggested"}) {
        SCOPED_TRACE(bad);
        EXPECT_FALSE(parseStepChanges(bad, changes, error));
        EXPECT_NE(error.find("around-binary"), std::string::npos);  // lists the known steps
    }
    EXPECT_EQ(changes.disable, unsigned{FF_2_13::ssSystemDirs | FF_2_13::ssArchiveSearchDirs});
    EXPECT_STREQ(stepWord(FF_2_13::ssAskUser), "suggested");
    EXPECT_STREQ(stepWord(static_cast<FF_2_13::search_step_t>(3)), "unknown");
}

TEST(SearchReport, JsonCarriesEveryFieldAndEscapesNamesThatAreNotUtf8) {
    const nlohmann::json json = nlohmann::json::parse(toJson(sampleRows()).dump());
    ASSERT_EQ(json.size(), 2u);
    EXPECT_EQ(json[0]["request"],
              nlohmann::json({{"kind", "bin"}, {"name", "/usr/lib/libc.so.6"}}));
    EXPECT_EQ(json[0]["found"], "/usr/lib/libc.so.6");
    EXPECT_EQ(json[0]["confidence"], "accepted");
    EXPECT_EQ(json[0]["step"], "absolute-name");

    const nlohmann::json& sym = json[1];
    EXPECT_EQ(sym["request"]["binary"], "/usr/lib/libc.so.6");
    EXPECT_EQ(sym["request"]["checksum"], "md5:9e107d9d372bb6826bd81d3542a419d6");
    EXPECT_TRUE(sym["found"].is_null());
    EXPECT_EQ(sym["otherNames"], nlohmann::json({"libc.so.6.debug"}));
    const nlohmann::json& rejection = sym["rejected"][0];
    EXPECT_EQ(rejection["message"], "%ChecksumMismatch");
    EXPECT_EQ(rejection["severity"], "hard");
    EXPECT_EQ(rejection["step"], "system");
    // The path's 0xFF byte is no UTF-8: the name comes escaped, every byte kept.
    EXPECT_EQ(rejection["path"],
              nlohmann::json({{"percentEncoded", "/usr/lib/debug/\x1b[31mx%FF"}}));
}

TEST(SearchReport, TableAlignsColumnsAndDisarmsControlCharacters) {
    std::ostringstream out;
    writeTable(out, sampleRows());
    const std::string table = out.str();
    std::istringstream lines(table);
    std::string header, first, second;
    std::getline(lines, header);
    std::getline(lines, first);
    std::getline(lines, second);
    EXPECT_EQ(header.find("FOUND"), first.find("/usr/lib/libc.so.6", 10));
    EXPECT_EQ(header.find("STEP"), first.find("absolute-name"));
    EXPECT_EQ(second.find("not found"), header.find("FOUND"));
    EXPECT_NE(table.find("also tried libc.so.6.debug"), std::string::npos);
    EXPECT_NE(
        table.find("rejected /usr/lib/debug/\\x1b[31mx\xff (system, hard): %ChecksumMismatch"),
        std::string::npos);
    EXPECT_EQ(table.find('\x1b'), std::string::npos);
}
