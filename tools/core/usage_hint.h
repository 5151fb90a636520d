// File: usage_hint.h
//
// What the command says about a command line it cannot parse: the word it did not know,
// and the known word nearest to it.
//
//   usageHint(app, {"file-finder", "reslove", "--self"})
//   // "unknown sub-command 'reslove'; did you mean 'resolve'?"
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace ffcli {

/// The nearest of `known` to `word` by edit distance, when it is near enough to be a
/// typing slip (at most a third of the word wrong); "" otherwise.
std::string nearestWord(const std::string& word, const std::vector<std::string>& known);

/// For the arguments `args` (argv without the program name) that `app` rejected: the
/// first unknown sub-command or option, named, with a suggestion; "" when every word is
/// known (the parser's own message then says what is wrong).
std::string usageHint(CLI::App& app, const std::vector<std::string>& args);

}  // namespace ffcli
