// File: ff_cmdline_dirs.h
//
// Search directories as command-line text, and back. One option per directory and
// category:
//
//   --search-dir=CATEGORY[,recursive][,high]:PATH
//
// - CATEGORY: "binaries", "symbols", "sources" or "all": categoryWord() of scBinaryFiles
//   to scAllFiles.
// - "recursive": search the directory's sub-directories too; "high": search it in the
//   high-priority step. Flags may come in any order; each may be repeated.
// - PATH: every byte after the first ':' exactly as it is (blanks, commas, colons,
//   quotes, backslashes, newlines and non-ASCII bytes included); it may be empty.
//
// renderSearchDirs() writes the options of a container, categories in the order above
// and each category's directories in list order, separated by one blank. Each option is
// one word for a POSIX shell: it stands bare when it holds only the bytes
// A-Z a-z 0-9 _ @ % + = : , . / -, and is enclosed in single quotes otherwise, a single
// quote inside written as '\''. A shell given the text passes the options to a program
// as they were rendered, and parseSearchDirs() reads the same text back into a
// container: the round trip is exact for every name.
//
//   std::string text = cmdline::renderSearchDirs(*dirs);
//   // --search-dir=symbols,recursive:/opt/debug '--search-dir=all:/home/me/my src'
//   std::string error;
//   if (!cmdline::parseSearchDirs(text.c_str(), *other, error)) report(error);
//
// parseSearchDirs() reads words as a POSIX shell splits them (blanks, tabs and newlines
// between words; single quotes; double quotes, in which a backslash escapes $ ` " \ and
// a newline; a backslash outside quotes escapes the next byte; backslash-newline joins
// lines). It refuses, rather than guess at, what a shell would expand: an unquoted
// $ ` ; | & < > ( ) * ? [ ] { } !, or # or ~ at the start of a word. Each word is
// "--search-dir=VALUE", or "--search-dir" followed by the word VALUE.
//
// A command-line program that receives the option's value from its arguments (already
// unquoted by the shell) parses it with parseSearchDirValue().
//
// Errors: a parser answers false with a message naming what was wrong and where, and
// leaves the container as it was; it never throws for bad text. All functions are
// thread-safe.
#pragma once

#include <string>

#include "ff_searchdirs.h"
#include "ff_types.h"

namespace FF_2_13 {
namespace cmdline {

/// The option's value "CATEGORY[,recursive][,high]:PATH", unquoted; "" for a category
/// outside 1 to 4 or a null name.
FF_EXPORT std::string formatSearchDirValue(search_category_t category, const char* name,
                                           bool recursive, bool highPriority);

/// One option per directory and category of `dirs`, each quoted for a shell, separated
/// by one blank; "" when the container has no directory.
FF_EXPORT std::string renderSearchDirs(const ISearchDirContainer& dirs);

/// Adds the directory of one option value (as formatSearchDirValue writes it) to `dirs`.
/// False, with `error` set and `dirs` unchanged, when the value does not parse.
FF_EXPORT bool parseSearchDirValue(const char* value, IEditableSearchDirContainer& dirs,
                                   std::string& error);

/// Adds every directory of rendered command-line text to `dirs`, in order. False, with
/// `error` set and `dirs` unchanged, when any of the text does not parse.
FF_EXPORT bool parseSearchDirs(const char* text, IEditableSearchDirContainer& dirs,
                               std::string& error);

}  // namespace cmdline
}  // namespace FF_2_13
