#include "core/step_names.h"

namespace ffcli {

namespace {

struct StepWord {
    FF_2_13::search_step_t step;
    const char* word;
};

// In the order a search walks the steps; "suggested" last, as it is never walked.
constexpr StepWord kStepWords[] = {
    {FF_2_13::ssArchiveSearchDirs, "archive"},
    {FF_2_13::ssHighPrioritySearchDirs, "high-priority"},
    {FF_2_13::ssCacheSearchDir, "cache"},
    {FF_2_13::ssAbsoluteNameLookup, "absolute-name"},
    {FF_2_13::ssAroundBinaryLookup, "around-binary"},
    {FF_2_13::ssLowPrioritySearchDirs, "low-priority"},
    {FF_2_13::ssSystemDirs, "system"},
    {FF_2_13::ssAskUser, "suggested"},
    {FF_2_13::ssRemoteSource, "debuginfod"},
};

std::string walkedStepWords() {
    std::string words;
    for (const StepWord& entry : kStepWords) {
        if (entry.step == FF_2_13::ssAskUser || entry.step == FF_2_13::ssRemoteSource) continue;
        if (!words.empty()) words += ", ";
        words += entry.word;
    }
    return words;
}

}  // namespace

const char* stepWord(FF_2_13::search_step_t step) {
    for (const StepWord& entry : kStepWords)
        if (entry.step == step) return entry.word;
    return "unknown";
}

const char* confidenceWord(FF_2_13::confidence_t confidence) {
    switch (confidence) {
        case FF_2_13::cfAccepted:
            return "accepted";
        case FF_2_13::cfPolicyHigh:
            return "policy-high";
        case FF_2_13::cfPolicyLow:
            return "policy-low";
    }
    return "unknown";
}

const char* severityWord(FF_2_13::severity_t severity) {
    switch (severity) {
        case FF_2_13::svHard:
            return "hard";
        case FF_2_13::svMild:
            return "mild";
        case FF_2_13::svUnspecified:
            return "unspecified";
    }
    return "unknown";
}

const char* candidateOutcomeWord(FF_2_13::candidate_outcome_t outcome) {
    switch (outcome) {
        case FF_2_13::coAbsent:
            return "absent";
        case FF_2_13::coNotRegularFile:
            return "not a regular file";
        case FF_2_13::coUnreadable:
            return "unreadable";
        case FF_2_13::coAccepted:
            return "accepted";
        case FF_2_13::coRefused:
            return "refused";
        case FF_2_13::coDuplicate:
            return "duplicate";
    }
    return "unknown";
}

bool parseStepChanges(const std::string& text, StepChanges& changes, std::string& error) {
    StepChanges parsed = changes;
    std::string::size_type start = 0;
    while (true) {
        const std::string::size_type comma = text.find(',', start);
        std::string item = text.substr(start, comma == std::string::npos ? comma : comma - start);
        bool enable = true;
        if (!item.empty() && (item[0] == '+' || item[0] == '-')) {
            enable = item[0] == '+';
            item.erase(0, 1);
        }
        const StepWord* match = nullptr;
        for (const StepWord& entry : kStepWords)
            if (entry.step != FF_2_13::ssAskUser && entry.step != FF_2_13::ssRemoteSource &&
                item == entry.word)
                match = &entry;
        if (!match) {
            error = (item.empty() ? std::string("an empty step") : "unknown step '" + item + "'") +
                    " in '" + text + "'; the steps are " + walkedStepWords();
            return false;
        }
        if (enable) {
            parsed.enable |= match->step;
            parsed.disable &= ~static_cast<unsigned int>(match->step);
        } else {
            parsed.disable |= match->step;
            parsed.enable &= ~static_cast<unsigned int>(match->step);
        }
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    changes = parsed;
    return true;
}

}  // namespace ffcli
