#include "core/usage_hint.h"

#include <algorithm>

namespace ffcli {

namespace {

// Edits to turn `a` into `b`, two neighbours swapped counting as one ("bni" is one from
// "bin"): the slip a typist makes most.
std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
    for (std::size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i)
        for (std::size_t j = 1; j <= b.size(); ++j) {
            d[i][j] = std::min(
                {d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
        }
    return d[a.size()][b.size()];
}

std::string withSuggestion(const std::string& what, const std::string& word,
                           const std::vector<std::string>& known) {
    std::string hint = "unknown " + what + " '" + word + "'";
    const std::string nearest = nearestWord(word, known);
    if (!nearest.empty()) hint += "; did you mean '" + nearest + "'?";
    return hint + " (see --help)";
}

// The long option names of `app` and of the apps above it (fallthrough), "--" included.
std::vector<std::string> optionNames(const CLI::App* app) {
    std::vector<std::string> names;
    for (; app; app = app->get_parent())
        for (const CLI::Option* option : app->get_options())
            for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

}  // namespace

std::string nearestWord(const std::string& word, const std::vector<std::string>& known) {
    std::string best;
    std::size_t bestDistance = word.size() / 3 + 1;
    for (const std::string& candidate : known) {
        const std::size_t distance = editDistance(word, candidate);
        if (distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
        }
    }
    return best;
}

std::string usageHint(CLI::App& app, const std::vector<std::string>& args) {
    CLI::App* current = &app;
    bool expectsSubcommand = true;
    for (const std::string& arg : args) {
        if (arg == "--") break;
        if (arg.rfind("--", 0) == 0) {
            const std::string name = arg.substr(0, arg.find('='));
            const std::vector<std::string> known = optionNames(current);
            if (std::find(known.begin(), known.end(), name) == known.end() && name != "--help")
                return withSuggestion("option", name, known);
            continue;
        }
        if (arg.empty() || arg[0] == '-' || !expectsSubcommand) continue;
        std::vector<std::string> subcommands;
        CLI::App* named = nullptr;
        for (CLI::App* sub : current->get_subcommands({})) {
            subcommands.push_back(sub->get_name());
            if (sub->get_name() == arg) named = sub;
        }
        if (subcommands.empty()) {
            expectsSubcommand = false;  // a positional argument, or an option's value
            continue;
        }
        if (named) {
            current = named;
            continue;
        }
        // An option's value ("--log-level info") stands where a sub-command might.
        if (current == &app && arg != args.front()) continue;
        return withSuggestion("sub-command", arg, subcommands);
    }
    return "";
}

}  // namespace ffcli
