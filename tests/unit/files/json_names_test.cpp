// Names in JSON: which names stay strings, how the others are escaped, and every form
// the readers take back, the two that earlier versions wrote included.
#include "files/json_names.h"

#include <gtest/gtest.h>

#include "ff_utils.h"

using namespace FF_2_13;

TEST(JsonNames, WellFormedUtf8StaysAStringAndEveryOtherByteIsEscaped) {
    const struct {
        std::string name;
        const char* json;
    } cases[] = {
        {"", R"("")"},
        {"/usr/lib/libm.so.6", R"("/usr/lib/libm.so.6")"},
        {"caf\xc3\xa9 \xf0\x9f\x98\x80 100%", "\"caf\xc3\xa9 \xf0\x9f\x98\x80 100%\""},
        {"tab\tand\x7f", R"("tab\tand)"
                         "\x7f\""},
        {"lone \xff byte", R"({"percentEncoded":"lone %FF byte"})"},
        {"caf\xe9 100%", R"({"percentEncoded":"caf%E9 100%25"})"},
        {"surrogate \xed\xa0\x80", R"({"percentEncoded":"surrogate %ED%A0%80"})"},
        {"overlong \xc0\xaf", R"({"percentEncoded":"overlong %C0%AF"})"},
        {"beyond \xf4\x90\x80\x80", R"({"percentEncoded":"beyond %F4%90%80%80"})"},
        {"cut \xe2\x82", R"({"percentEncoded":"cut %E2%82"})"},
        // The valid characters around a stray byte stay readable.
        {"\xc3\xa9\x80\xc3\xa9", "{\"percentEncoded\":\"\xc3\xa9%80\xc3\xa9\"}"},
    };
    for (const auto& c : cases) {
        const nlohmann::json json = nameToJson<nlohmann::json>(c.name);
        EXPECT_EQ(c.json, json.dump()) << c.name;
        std::string back, fault;
        EXPECT_TRUE(nameFromJson(json, back, fault)) << c.name << ": " << fault;
        EXPECT_EQ(c.name, back);
    }
}

TEST(JsonNames, ReadersTakeEveryFormAndNameWhatIsWrong) {
    const struct {
        const char* json;
        std::string name;  // or, when `fault` is set, what the reader says
        const char* fault;
    } cases[] = {
        {R"("plain")", "plain", nullptr},
        {R"({"percentEncoded": "caf%e9%FF%25"})", "caf\xe9\xff%", nullptr},
        {R"({"hex": "6c6962ff2e736f"})", "lib\xff.so", nullptr},  // earlier history files
        {R"([47, 120, 233, 255])", "/x\xe9\xff", nullptr},        // earlier directory files
        {R"([])", "", nullptr},
        {R"({"percentEncoded": "50%"})", "", "has a '%' without two hexadecimal digits after it"},
        {R"({"hex": "zz"})", "", "is not an even number of hexadecimal digits"},
        {R"([47, 300])", "", "is a list with something other than byte values"},
        {R"([47, -1])", "", "is a list with something other than byte values"},
        {R"([47, "x"])", "", "is a list with something other than byte values"},
        {R"(42)", "", R"(is number, not a string or {"percentEncoded": ...})"},
        {R"({"hex": "61", "more": 1})", "",
         R"(is object, not a string or {"percentEncoded": ...})"},
        {R"({"percentEncoded": 7})", "", R"(is object, not a string or {"percentEncoded": ...})"},
        {R"("a\u0000b")", "", "contains a NUL byte"},
        {R"({"hex": "6100"})", "", "contains a NUL byte"},
    };
    for (const auto& c : cases) {
        std::string name = "untouched", fault;
        const bool read = nameFromJson(nlohmann::ordered_json::parse(c.json), name, fault);
        EXPECT_EQ(c.fault == nullptr, read) << c.json;
        EXPECT_EQ(c.fault ? "untouched" : c.name, name) << c.json;
        EXPECT_EQ(c.fault ? c.fault : "", fault) << c.json;
    }
}
