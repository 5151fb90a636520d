// File: manifest.h
//
// A manifest lists recorded requests, one a line, fields separated by one tab (shown
// aligned here):
//
//   # what the profile of run 17 needs
//   bin   /usr/lib/libx.so.1   md5:9e107d9d372bb6826bd81d3542a419d6
//   sym   libx.so.1.debug      /usr/lib/libx.so.1
//   src   /build/x/parse.c     /usr/lib/libx.so.1   sha1:2fd4e1c67a2d28fced849ee1bb76e7391b93eb12
//
// i.e. `bin NAME [CHECKSUM]`, `sym NAME BINARY [CHECKSUM]`, `src NAME BINARY [CHECKSUM]`,
// CHECKSUM written "md5:HEX" or "sha1:HEX". Lines whose first non-blank character is '#'
// and blank lines are skipped; a carriage return before the line end is dropped. Fields
// are taken exactly as written between the tabs (names may hold blanks). A malformed line
// is reported with its number and does not stop the others.
//
//   std::ifstream in(path);
//   Manifest manifest = parseManifest(in);
//   for (const ManifestError& e : manifest.errors) warn(path, e.line, e.message);
#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <vector>

#include "core/search_request.h"

namespace ffcli {

struct ManifestError {
    std::size_t line;  ///< 1 for the first line
    std::string message;
};

struct Manifest {
    /// The requests in the order of their lines.
    std::vector<Request> requests;
    /// One entry per malformed line.
    std::vector<ManifestError> errors;
};

Manifest parseManifest(std::istream& in);

}  // namespace ffcli
