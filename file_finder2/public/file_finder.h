// File: file_finder.h
//
// The whole public interface of file_finder2 in one include. A client writes
//
//   #include <file_finder.h>
//
// and links FileFinder2::file_finder2 (CMake) or `pkg-config --libs file_finder2`.
// Everything lives in namespace FF_2_13: file finder, interface version 2.13.
#pragma once

#include "ff_export.h"
#include "ff_object.h"
#include "ff_lock.h"
#include "ff_events.h"
#include "ff_types.h"
#include "ff_utils.h"
#include "ff_validation.h"
#include "ff_checksum.h"
#include "ff_file_retriever.h"
#include "ff_messages.h"
#include "ff_validators.h"
#include "ff_identity.h"
#include "ff_callbacks.h"
#include "ff_kernel_image.h"
#include "ff_history.h"
#include "ff_searchdirs.h"
#include "ff_search_steps.h"
#include "ff_searchenv.h"
#include "ff_persistent_dirs.h"
#include "ff_cmdline_dirs.h"
#include "ff_remote_source.h"
#include "ff_search_options.h"
#include "ff_search.h"
#include "ff_context.h"
#include "ff_manipulator.h"
