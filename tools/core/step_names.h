// File: step_names.h
//
// The words the file-finder command uses for the library's search steps, confidence
// levels and severities, in its tables, its JSON and its --steps option:
//
//   archive  high-priority  cache  absolute-name  around-binary  low-priority  system
//
// (in the order a search walks them), "suggested" for a file the client suggested, and
// "debuginfod" for a file fetched from a debuginfod server (never a --steps word: the
// server is asked after every step, with --debuginfod).
//
//   StepChanges changes;
//   std::string error;
//   parseStepChanges("-system,+cache", changes, error);  // disable 32, enable 128
#pragma once

#include <string>

#include "ff_search_options.h"
#include "ff_types.h"

namespace ffcli {

/// The step's word; "unknown" for a value that is not a single step.
const char* stepWord(FF_2_13::search_step_t step);
/// "accepted", "policy-high", "policy-low"; "unknown" otherwise.
const char* confidenceWord(FF_2_13::confidence_t confidence);
/// "hard", "mild", "unspecified"; "unknown" otherwise.
const char* severityWord(FF_2_13::severity_t severity);

/// "absent", "not a regular file", "unreadable", "accepted", "refused", "duplicate";
/// "unknown" otherwise.
const char* candidateOutcomeWord(FF_2_13::candidate_outcome_t outcome);

/// Steps to switch on and off, each a mask of search_step_t bits.
struct StepChanges {
    unsigned int enable = 0;
    unsigned int disable = 0;
};

/// Reads a comma-separated list of step words, each optionally preceded by '+' (switch
/// on, the default) or '-' (switch off); a later word about the same step wins. Adds to
/// `changes`, so the option may be repeated. False with `error` naming the word and the
/// known words for an unknown step or an empty item.
bool parseStepChanges(const std::string& text, StepChanges& changes, std::string& error);

}  // namespace ffcli
