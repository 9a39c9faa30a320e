#pragma once

#include <string>
#include <string_view>

#include "apps/tarnwick/options.h"

namespace tarnwick::cli {

/// Writes what a command shows to standard output. On a terminal, and unless `options` say
/// otherwise, through the pager: $TARNWICK_PAGER, else $PAGER, else less (with LESS=FRX unless that
/// is set); an empty one is none. Returns when the reader has left the pager, before the end of the
/// text or behind it.
void page(const Options& options, std::string_view text);

/// Ends the pager that runs, and gives the terminal back as it was. Whoever starts one from then on
/// waits for the end of the process.
void end_pager_for_good();

}  // namespace tarnwick::cli
