#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tarnwick::test_support {

/// Makes objects of all classes in this process, on a new database, and makes up calls of them: any
/// members, flags, arguments and names, which follow from `seed`. Says what did not hold, empty
/// when all did:
///   - each call is answered by one of the HRESULTs that callers of Invoke know, an exception with
///     source and description, a success with a result of the member's type;
///   - arguments are as they were, and nobody holds an object that was one;
///   - when all references are given up, no object is left.
[[nodiscard]] std::string play_variants(std::uint32_t seed, std::size_t calls);

/// The same with objects of the registered server: it answers to the end.
[[nodiscard]] std::string play_variants_across(std::uint32_t seed, std::size_t calls);

}  // namespace tarnwick::test_support
