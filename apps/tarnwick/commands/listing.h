#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/output/sorting.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

/// Makes --csv known to a command that shows records. `line` must outlive it.
void add_csv(CLI::App& command, CommandLine& line);

/// The switches of a listing of records: which of them, in which order and form.
class Listing final {
 public:
  /// `more`: the names of its columns that are no attributes.
  explicit Listing(ClassId record_class, const std::vector<std::string>& more = {});

  // Each makes its switches known to `command`; this, and `line`, must outlive it.
  void add_options(CLI::App& command, CommandLine& line);
  /// Leaves out the records with another value of this attribute; texts compare without regard to
  /// case. `name`: that of the switch, where it is not called as the one that sets the attribute.
  void add_filter(CLI::App& command, std::string_view attribute, const std::string& help,
                  std::string name = {});

  /// Lists what is wanted of `loaded`, sorted; see list().
  void show(const Options& options, Loaded loaded, const Columns& first, const Columns& without,
            const std::vector<MoreColumn>& more = {}) const;

 private:
  [[nodiscard]] bool wants(const Row& row) const;

  Order order_;
  Row wanted_;
};

}  // namespace tarnwick::cli
