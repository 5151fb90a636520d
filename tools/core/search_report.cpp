#include "core/search_report.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>

#include "core/step_names.h"
#include "ff_utils.h"

namespace ffcli {

namespace {

// Characters on the screen: UTF-8 continuation bytes take no column.
std::size_t columns(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

// The first `count` characters of `text` (bytes up to the count-th character start).
std::size_t bytesOfColumns(const std::string& text, std::size_t count) {
    std::size_t at = 0;
    for (std::size_t seen = 0; at < text.size(); ++at) {
        if ((static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) continue;
        if (seen++ == count) break;
    }
    return at;
}

// At most `width` columns: a longer text keeps its start and its end, which tell names
// apart best, around "...".
std::string elided(const std::string& text, std::size_t width) {
    const std::size_t total = columns(text);
    if (total <= width) return text;
    const std::size_t head = (width - 3) / 2;
    const std::size_t tail = width - 3 - head;
    return text.substr(0, bytesOfColumns(text, head)) + "..." +
           text.substr(bytesOfColumns(text, total - tail));
}

// "1 candidate", "3 candidates".
std::string candidates(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " candidate" : " candidates");
}

nlohmann::ordered_json requestJson(const Request& request) {
    nlohmann::ordered_json json = {{"kind", kindWord(request.kind)},
                                   {"name", jsonName(request.name)}};
    if (!request.binary.empty()) json["binary"] = jsonName(request.binary);
    if (request.checksum) json["checksum"] = request.checksum->text();
    if (request.modificationTime) json["modificationTime"] = *request.modificationTime;
    if (request.size) json["size"] = *request.size;
    if (!request.buildId().empty()) json["buildId"] = request.buildId();
    return json;
}

nlohmann::ordered_json candidateJson(const Candidate& candidate) {
    nlohmann::ordered_json json = {{"path", jsonName(candidate.path)},
                                   {"step", stepWord(candidate.step)},
                                   {"outcome", candidateOutcomeWord(candidate.outcome)}};
    if (!candidate.message.empty()) json["message"] = jsonName(candidate.message);
    return json;
}

nlohmann::ordered_json rejectionJson(const Rejection& rejection) {
    return {{"path", jsonName(rejection.path)},
            {"message", jsonName(rejection.message)},
            {"severity", severityWord(rejection.severity)},
            {"step", stepWord(rejection.step)}};
}

}  // namespace

std::string missReason(const Outcome& outcome) {
    if (outcome.found()) return "";
    if (!outcome.error.empty()) return "the search failed: " + outcome.error;
    std::set<std::string> absentPlaces;
    std::size_t notRegular = 0, unreadable = 0;
    std::vector<const Candidate*> refused;
    for (const Candidate& candidate : outcome.tried) {
        switch (candidate.outcome) {
            case FF_2_13::coAbsent:  // a place looked at twice is one place
                absentPlaces.insert(candidate.path);
                break;
            case FF_2_13::coNotRegularFile:
                ++notRegular;
                break;
            case FF_2_13::coUnreadable:
                ++unreadable;
                break;
            case FF_2_13::coRefused:
                refused.push_back(&candidate);
                break;
            case FF_2_13::coAccepted:
            case FF_2_13::coDuplicate:
                break;
        }
    }
    if (outcome.tried.empty()) return "no place to look: no search step applies to this name";
    const std::size_t absent = absentPlaces.size();
    std::vector<std::string> parts;
    if (!refused.empty()) {
        const bool oneMessage =
            std::all_of(refused.begin(), refused.end(), [&](const Candidate* candidate) {
                return candidate->message == refused.front()->message;
            });
        std::string message = refused.front()->message;
        if (!message.empty() && message.back() == '.') message.pop_back();  // more follows
        parts.push_back(candidates(refused.size()) + " refused" +
                        (oneMessage ? ": " : ", the first: ") + message);
    }
    if (notRegular > 0) parts.push_back(candidates(notRegular) + " not a regular file");
    if (unreadable > 0) parts.push_back(candidates(unreadable) + " unreadable");
    const std::string places = std::to_string(absent) + (absent == 1 ? " place" : " places");
    if (parts.empty()) return "no candidate existed in " + places;
    if (absent > 0) parts.push_back("nothing in " + places);
    std::string reason = parts.front();
    for (std::size_t i = 1; i < parts.size(); ++i) reason += "; " + parts[i];
    return reason;
}

nlohmann::ordered_json jsonName(const std::string& name) {
    using namespace FF_2_13::utils;
    if (isWellFormedUtf8(name)) return name;
    return {{kPercentEncodedMember, percentEncodeName(name)}};
}

std::string printable(const std::string& name) {
    std::string out;
    out.reserve(name.size());
    for (char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
            out += escaped;
        } else {
            out += c;
        }
    }
    return out;
}

nlohmann::ordered_json toJson(const std::vector<ResolveRow>& rows) {
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    for (const ResolveRow& row : rows) {
        const Outcome& outcome = row.outcome;
        nlohmann::ordered_json json = {{"request", requestJson(row.request)}};
        if (outcome.found()) {
            json["found"] = jsonName(outcome.path);
            json["confidence"] = confidenceWord(outcome.confidence);
            json["step"] = stepWord(outcome.step);
            if (outcome.step == FF_2_13::ssRemoteSource) json["server"] = jsonName(outcome.server);
        } else {
            json["found"] = nullptr;
            json["confidence"] = nullptr;
            json["step"] = nullptr;
        }
        json["rejected"] = nlohmann::ordered_json::array();
        for (const Rejection& rejection : outcome.rejected)
            json["rejected"].push_back(rejectionJson(rejection));
        json["tried"] = nlohmann::ordered_json::array();
        for (const Candidate& candidate : outcome.tried)
            json["tried"].push_back(candidateJson(candidate));
        if (!outcome.found()) json["reason"] = jsonName(missReason(outcome));
        if (!row.otherNames.empty()) {
            json["otherNames"] = nlohmann::ordered_json::array();
            for (const std::string& name : row.otherNames)
                json["otherNames"].push_back(jsonName(name));
        }
        if (!outcome.error.empty()) json["error"] = jsonName(outcome.error);
        if (!outcome.serverMiss.empty()) json["debuginfod"] = jsonName(outcome.serverMiss);
        if (row.load) {
            json["buildId"] = row.load->buildId.empty() ? nlohmann::ordered_json()
                                                        : nlohmann::ordered_json(row.load->buildId);
            json["range"] = row.load->range;
            json["state"] = loadStateWord(row.load->state);
        }
        array.push_back(std::move(json));
    }
    return array;
}

void writeTable(std::ostream& out, const std::vector<ResolveRow>& rows, bool verbose) {
    using Line = std::array<std::string, 5>;
    std::vector<Line> lines = {{"KIND", "NAME", "FOUND", "CONFIDENCE", "STEP"}};
    for (const ResolveRow& row : rows) {
        const Outcome& outcome = row.outcome;
        if (outcome.found())
            lines.push_back({kindWord(row.request.kind),
                             elided(printable(row.request.name), kMostColumnWidth),
                             elided(printable(outcome.path), kMostColumnWidth),
                             confidenceWord(outcome.confidence), stepWord(outcome.step)});
        else
            lines.push_back({kindWord(row.request.kind),
                             elided(printable(row.request.name), kMostColumnWidth),
                             outcome.error.empty() ? "not found" : "failed", "-", "-"});
    }
    std::array<std::size_t, 5> widths{};
    for (const Line& line : lines)
        for (std::size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], columns(line[i]));

    const std::string indent(widths[0] + 2, ' ');
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string text;
        for (std::size_t column = 0; column < widths.size(); ++column) {
            text += lines[i][column];
            if (column + 1 < widths.size())
                text += std::string(widths[column] - columns(lines[i][column]) + 2, ' ');
        }
        text.erase(text.find_last_not_of(' ') + 1);
        out << text << '\n';
        if (i == 0) continue;
        const ResolveRow& row = rows[i - 1];
        // A module's symbol file stands under its binary's row, which names the binary.
        const bool underItsBinary = i >= 2 && rows[i - 2].request.kind == RequestKind::kBinary &&
                                    rows[i - 2].outcome.path == row.request.binary;
        if (!row.request.binary.empty() && !underItsBinary &&
            row.request.name != row.request.binary)
            out << indent << "of binary " << printable(row.request.binary) << '\n';
        if (row.load && row.load->state != LoadState::kLoaded &&
            row.request.kind == RequestKind::kBinary)
            out << indent << loadStateWord(row.load->state) << " since the process loaded it at "
                << row.load->range << ", build-id "
                << (row.load->buildId.empty() ? "unknown" : row.load->buildId) << '\n';
        for (const std::string& name : row.otherNames)
            out << indent << "also tried " << printable(name) << '\n';
        for (const Rejection& rejection : row.outcome.rejected)
            out << indent << "rejected " << printable(rejection.path) << " ("
                << stepWord(rejection.step) << ", " << severityWord(rejection.severity)
                << "): " << printable(rejection.message) << '\n';
        if (!row.outcome.error.empty())
            out << indent << "error: " << printable(row.outcome.error) << '\n';
        else if (!row.outcome.found())
            out << indent << "reason: " << printable(missReason(row.outcome)) << '\n';
        if (row.outcome.step == FF_2_13::ssRemoteSource && row.outcome.found())
            out << indent << "fetched from "
                << (row.outcome.server.empty() ? "the debuginfod cache"
                                               : printable(row.outcome.server))
                << '\n';
        if (!row.outcome.serverMiss.empty())
            out << indent << "debuginfod: " << printable(row.outcome.serverMiss) << '\n';
        if (!verbose) continue;
        for (const Candidate& candidate : row.outcome.tried) {
            out << indent << "tried " << printable(candidate.path) << " ("
                << stepWord(candidate.step) << "): " << candidateOutcomeWord(candidate.outcome);
            if (!candidate.message.empty()) out << ": " << printable(candidate.message);
            out << '\n';
        }
    }
}

}  // namespace ffcli
