#pragma once

#include <string_view>

#include "apps/tarnwick/options.h"

namespace tarnwick::cli {

/// Writes what a command shows to standard output. On a terminal, and unless `options` say
/// otherwise, through the pager: $TARNWICK_PAGER, else $PAGER, else the usual one (see
/// platform::show_in_program); an empty one is none. Returns when the reader has left the pager,
/// before the end of the text or behind it.
void page(const Options& options, std::string_view text);

}  // namespace tarnwick::cli
