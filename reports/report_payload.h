#pragma once

#include "state/shared_state.h"

namespace tarnwick {

// The payloads of a report on their way between column, text and file. All go through the shared
// stream and throw what it throws.

/// Makes `stream` a closed stream: closes one that is open, creates one where there is none.
void prepare_stream(std::shared_ptr<ado::Stream>& stream);

/// The bytes as ISO-8859-1 text. They go through the file TTX.bin in the host's folder, which stays
/// there until the next conversion overwrites it.
[[nodiscard]] Text ttx_from_bytes(SharedState& state, Bytes bytes);

/// `ttx` as ISO-8859-1 bytes. A character above U+00FF is error 3421.
[[nodiscard]] Bytes ttx_to_bytes(SharedState& state, TextView ttx);

[[nodiscard]] Text ttx_from_file(SharedState& state, TextView path);
void ttx_to_file(SharedState& state, TextView ttx, TextView path);

[[nodiscard]] Bytes bytes_from_file(SharedState& state, TextView path);
void bytes_to_file(SharedState& state, Bytes bytes, TextView path);

}  // namespace tarnwick
