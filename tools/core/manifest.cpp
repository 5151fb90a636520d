#include "core/manifest.h"

namespace ffcli {

namespace {

std::vector<std::string> splitTabs(const std::string& line) {
    std::vector<std::string> fields;
    std::string::size_type start = 0;
    while (true) {
        const std::string::size_type tab = line.find('\t', start);
        fields.push_back(line.substr(start, tab == std::string::npos ? tab : tab - start));
        if (tab == std::string::npos) return fields;
        start = tab + 1;
    }
}

// One line's request; false with `error` set when the line is malformed.
bool parseLine(const std::string& line, Request& request, std::string& error) {
    const std::vector<std::string> fields = splitTabs(line);
    const std::string& kind = fields[0];
    std::size_t required = 0;
    if (kind == "bin") {
        request.kind = RequestKind::kBinary;
        required = 2;
    } else if (kind == "sym" || kind == "src") {
        request.kind = kind == "sym" ? RequestKind::kSymbol : RequestKind::kSource;
        required = 3;
    } else {
        error =
            "unknown request '" + kind + "' (expected bin, sym or src, then tab-separated fields)";
        return false;
    }
    const std::string usage =
        kind == "bin" ? "bin NAME [CHECKSUM]" : kind + " NAME BINARY [CHECKSUM]";
    if (fields.size() < required || fields.size() > required + 1) {
        error = "expected '" + usage + "' separated by tabs, found " +
                std::to_string(fields.size()) + " fields";
        return false;
    }
    request.name = fields[1];
    if (request.name.empty()) {
        error = "empty NAME in '" + usage + "'";
        return false;
    }
    if (required == 3) {
        request.binary = fields[2];
        if (request.binary.empty()) {
            error = "empty BINARY in '" + usage + "'";
            return false;
        }
    }
    if (fields.size() > required) {
        ExpectedChecksum checksum;
        if (!parseChecksum(fields[required], checksum, error)) return false;
        request.checksum = checksum;
    }
    return true;
}

}  // namespace

Manifest parseManifest(std::istream& in) {
    Manifest manifest;
    std::string line;
    for (std::size_t number = 1; std::getline(in, line); ++number) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const std::string::size_type first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == '#') continue;
        Request request;
        std::string error;
        if (parseLine(line, request, error))
            manifest.requests.push_back(request);
        else
            manifest.errors.push_back({number, error});
    }
    return manifest;
}

}  // namespace ffcli
