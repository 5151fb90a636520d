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
    missing.outcome.tried = {
        {"/usr/lib/.build-id/ab/cd.debug", FF_2_13::ssAroundBinaryLookup, FF_2_13::coAbsent, ""},
        {"/usr/lib/debug/\x1b[31mx\xff", FF_2_13::ssSystemDirs, FF_2_13::coRefused,
         "%ChecksumMismatch"}};
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
    EXPECT_EQ(sym["tried"][0], nlohmann::json({{"path", "/usr/lib/.build-id/ab/cd.debug"},
                                               {"step", "around-binary"},
                                               {"outcome", "absent"}}));
    EXPECT_EQ(sym["tried"][1]["message"], "%ChecksumMismatch");
    EXPECT_EQ(sym["reason"], "1 candidate refused: %ChecksumMismatch; nothing in 1 place");
    EXPECT_FALSE(json[0].contains("reason"));
    EXPECT_EQ(json[0]["tried"], nlohmann::json::array());
}

TEST(SearchReport, AMissSaysWhyInOneLine) {
    using namespace FF_2_13;
    const struct {
        std::vector<candidate_outcome_t> outcomes;
        std::vector<std::string> messages;
        const char* reason;
    } cases[] = {
        {{}, {}, "no place to look: no search step applies to this name"},
        {{coAbsent, coAbsent, coDuplicate}, {"", "", ""}, "no candidate existed in 1 place"},
        {{coRefused, coAbsent, coRefused},
         {"build-id differs", "", "build-id differs"},
         "2 candidates refused: build-id differs; nothing in 1 place"},
        {{coRefused, coRefused}, {"a", "b"}, "2 candidates refused, the first: a"},
        {{coNotRegularFile, coUnreadable},
         {"", ""},
         "1 candidate not a regular file; 1 candidate unreadable"},
    };
    for (const auto& c : cases) {
        Outcome outcome;
        for (std::size_t i = 0; i < c.outcomes.size(); ++i)
            outcome.tried.push_back({"/p", ssSystemDirs, c.outcomes[i], c.messages[i]});
        EXPECT_EQ(missReason(outcome), c.reason);
    }
    Outcome failed;
    failed.error = "cannot list /x";
    EXPECT_EQ(missReason(failed), "the search failed: cannot list /x");
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
    EXPECT_NE(table.find("reason: 1 candidate refused: %ChecksumMismatch"), std::string::npos);
    EXPECT_EQ(table.find(" tried /"), std::string::npos);

    // Verbose: every candidate. A long name loses its middle, never its ends.
    std::vector<ResolveRow> rows = sampleRows();
    rows[0].request.name = "/" + std::string(200, 'a') + "\xc3\xa9nd";
    std::ostringstream verbose;
    writeTable(verbose, rows, true);
    EXPECT_NE(verbose.str().find("tried /usr/lib/.build-id/ab/cd.debug (around-binary): absent"),
              std::string::npos);
    EXPECT_NE(verbose.str().find("a...a"), std::string::npos) << verbose.str();
    EXPECT_NE(verbose.str().find("a\xc3\xa9nd  "), std::string::npos) << verbose.str();
    std::string firstRow;
    std::istringstream verboseLines(verbose.str());
    std::getline(verboseLines, firstRow);
    std::getline(verboseLines, firstRow);
    EXPECT_LT(firstRow.size(), 2 * kMostColumnWidth + 40);
}
