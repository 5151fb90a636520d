// The identity message manager and its default message objects: the texts of the
// identity validators' refusals, from the catalog "file_finder_common".
#pragma once

#include <string>

#include "ff_identity.h"

namespace FF_2_13 {

/// The catalog identifier of `kind` ("SymBuildIdMismatch"...); null for an unknown kind.
const char* identityMessageId(identity_message_t kind);

/// The refusal text of `kind` from the process's manager, or "%" + its identifier when
/// the kind has no message or the catalog no text.
std::string identityMessageText(identity_message_t kind, const char* file, const char* found,
                                const char* expected);

}  // namespace FF_2_13
