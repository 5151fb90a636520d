// File: ff_utils.h
//
// Path and file helpers of namespace FF_2_13::utils: take names apart, bring them into
// one comparable (canonical) form, ask the file system simple questions, archive files,
// and write names into JSON. Text-only helpers touch no file; file-system queries never
// throw for a file-system failure, they answer no. Names are byte strings; nothing is
// converted to or from a locale.
//
//   utils::getCanonicalName("/usr/lib/../lib64/", false)   // "/usr/lib64"
//   utils::getCanonicalName("C:\\dir\\file.pdb", false)    // "C:/dir/file.pdb"
//   utils::compareCanonicalFileNames("ab", "abc")           // -1
//
// Unless a function says otherwise, a null argument is not allowed: building the
// std::string from it throws std::logic_error.
#pragma once

#include <string>

#include "ff_export.h"

namespace FF_2_13 {
namespace utils {

/// `base` joined with `sub`: a '/' goes between them only when `base` is not empty, does
/// not end with '/' and `sub` does not begin with one. No normalisation.
/// ("/a", "b") -> "/a/b"; ("/a/", "b") -> "/a/b"; ("", "b") -> "b"; ("/a", "") -> "/a".
FF_EXPORT std::string addSubPart(const char* base, const char* sub);

/// Canonical form of a file or directory name, lexically only (no link is resolved and a
/// relative name stays relative): "\\srv\x" and "C:\x" style names get forward slashes,
/// a trailing separator or "." goes, repeated separators collapse, "x/.." pairs go.
/// A null name gives "". `flag` has no visible effect: the result is the same either way.
/// Only one trailing "." goes before normalising, and normalising keeps a last ".", so
/// "x/./" gives "x/." while "x/." gives "x": names are compared, not tidied.
FF_EXPORT std::string getCanonicalName(const char* name, bool flag);

/// Byte-wise (unsigned bytes), case-sensitive comparison of two canonical names: exactly
/// -1, 0 or 1. A null name raises std::logic_error.
FF_EXPORT int compareCanonicalFileNames(const char* a, const char* b);

/// The last element: "/usr/lib/libc.so.6" -> "libc.so.6"; "/usr/lib/" -> "."; "/" -> "/".
FF_EXPORT std::string getFileNameOnly(const char* name);
/// Everything before the last element: "/usr/lib/libc.so.6" -> "/usr/lib"; "libc.so" -> "".
FF_EXPORT std::string getFileNamePath(const char* name);
/// The last element without its extension: "a.tar.gz" -> "a.tar"; ".debug" -> "".
FF_EXPORT std::string getFileNameBase(const char* name);
/// The extension of the last element, dot included: "a.tar.gz" -> ".gz"; ".debug" -> ".debug".
FF_EXPORT std::string getFileNameExtension(const char* name);
/// Parent path joined with the stem, then `ext` appended as raw text (no dot added):
/// ("/a/b.so", ".debug") -> "/a/b.debug"; ("/a/b/", ".x") -> "/a/b/..x".
FF_EXPORT std::string changeFileNameExtension(const char* name, const char* ext);

/// True when the name begins with '/'. No backslash conversion.
FF_EXPORT bool isAbsolutePath(const char* name);
/// True when the name is a directory (following symbolic links).
FF_EXPORT bool isDirectory(const char* name);
/// True only for an existing regular file (following symbolic links); a directory, a
/// null name or any failure gives false.
FF_EXPORT bool fileExists(const char* name);
/// Removes one file or empty directory; true when something was removed, false when
/// nothing existed, for a null name, or on any error.
FF_EXPORT bool removeFile(const char* name);
/// Creates one directory (not its parents) at the canonical form of `name`; true when it
/// was created, false when it existed, when `name` is null or empty, or on any error.
FF_EXPORT bool createDir(const char* name);
/// A copy with every byte through the C library's toupper; null gives "".
FF_EXPORT std::string toUpper(const char* s);
/// Login name of the process's user, else the effective user's name, else "unknown_user".
FF_EXPORT std::string getUserId();
/// True when `s` is null or "".
FF_EXPORT bool isStringEmpty(const char* s);

// ---------------------------------------------------------------------------------------
// Archiving and temporary directories

/// Result codes of archiveFile and createUniqueTempDir.
enum : unsigned int {
    kArchiveDone = 0,                   ///< copied (or the directory was made)
    kArchiveNoCalculator = 2,           ///< no checksum calculator could be had
    kArchiveNoChecksum = 3,             ///< the file's checksum could not be computed
    kArchiveCannotCreateDirectory = 4,  ///< a directory could not be created
    kArchiveCopyFailed = 5,             ///< copying into the archive failed
    kArchiveAlreadyThere = 6            ///< the file is in the archive already; nothing copied
};

/// Copies `file` to archiveDir/[subDir/]N/D/N, N its last path component and D its MD5
/// digest text, creating each missing level. `subDir` may be null. On 0 and 6
/// `archivedPath` holds the archived copy. A partial copy never stands under the final
/// name, nothing existing is overwritten, and the source (with `removeSource`) is removed
/// only after a complete copy. What stands under the final name already answers 6 when it
/// is a regular file, or a symbolic link to a regular file with the same MD5 digest (the
/// link is followed and kept); anything else there (a directory, a dangling link, a link
/// to other bytes) answers 5.
FF_EXPORT unsigned int archiveFile(const char* file, const char* archiveDir, const char* subDir,
                                   std::string& archivedPath, bool removeSource);

/// Makes a new directory "ff-%%%%-%%%%-%%%%-%%%%" (each % a random hex digit), mode 0700,
/// under the per-user data directory; 0 and its path in `dir`, or 4 after 30 attempts.
FF_EXPORT unsigned int createUniqueTempDir(std::string& dir);

// ---------------------------------------------------------------------------------------
// Names in JSON
//
// JSON text is UTF-8, while a name is any string of bytes. The JSON files the library
// writes (the search history, the persistent search directories) and the JSON output of
// the file-finder command hold each name in one of two forms:
//
//   "/usr/lib/libm.so.6"                    a name that is well-formed UTF-8, as it is;
//   {"percentEncoded": "/srv/caf%E9.so"}    any other name: every byte that is not part
//                                           of a well-formed UTF-8 character, and every
//                                           '%', written '%' and two upper-case hex digits
//
// so a person reads the name, and a reader gets back exactly its bytes. The library's
// readers also take the forms that its earlier versions wrote: {"hex": "2f737276"} (two
// hexadecimal digits per byte) and a list of byte values such as [47, 115, 114, 118].

/// The member name of the escaped form.
constexpr char kPercentEncodedMember[] = "percentEncoded";

/// True when `name` is well-formed UTF-8: no overlong form, no surrogate, nothing above
/// U+10FFFF, no character cut short. Such a name stands in JSON as a string.
FF_EXPORT bool isWellFormedUtf8(const std::string& name);

/// The text of the escaped form: "/srv/caf\xe9 100%" -> "/srv/caf%E9 100%25".
FF_EXPORT std::string percentEncodeName(const std::string& name);

/// The name that such a text stands for, hexadecimal digits in either case; false, with
/// `name` untouched, when a '%' is not followed by two hexadecimal digits.
FF_EXPORT bool percentDecodeName(const std::string& text, std::string& name);

}  // namespace utils
}  // namespace FF_2_13
