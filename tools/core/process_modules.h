// File: process_modules.h
//
// The modules of a running process as it loaded them: for each module of its maps
// (proc_maps.h), whether the file at its path is still the one it mapped, and its identity
// (build-id, debug link, target) read from what was loaded:
//
//   loaded    the path names the mapped file (same device and inode): read the path;
//   deleted   nothing is at the path any more: read the mapped file through
//             /proc/PID/map_files/START-END, or else the module's first pages from the
//             process's memory (/proc/PID/mem), where the program headers' notes hold
//             its build-id;
//   replaced  another file is at the path: read as for deleted.
//
// The vDSO is read from the process's memory. Opening map_files takes privileges an
// ordinary user lacks even for their own processes; without them, maps' device and inode
// decide the state and the memory gives the identity, and `notes` says so once.
//
//   std::vector<std::string> notes;
//   std::optional<std::vector<LoadedModule>> modules = readLoadedModules("4242", notes, error);
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <ff_identity.h>

#include "core/proc_maps.h"

namespace ffcli {

enum class LoadState { kLoaded, kDeleted, kReplaced };

/// "loaded", "deleted" or "replaced".
const char* loadStateWord(LoadState state);

struct LoadedModule {
    MappedModule mapping;
    LoadState state = LoadState::kLoaded;
    /// As loaded; empty when nothing of it could be read.
    FF_2_13::ObjectPtr<FF_2_13::IFileIdentity> identity;
};

/// The loaded modules of process `pid` (a number or "self"). Empty, with `error` set,
/// when its maps cannot be read; `notes` receives what a user should know about the
/// rest (each note once).
std::optional<std::vector<LoadedModule>> readLoadedModules(const std::string& pid,
                                                           std::vector<std::string>& notes,
                                                           std::string& error);

}  // namespace ffcli
