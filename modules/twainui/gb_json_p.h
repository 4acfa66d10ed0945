// Private parts of the configuration module shared by its source files.
#ifndef GB_JSON_P_H
#define GB_JSON_P_H

#include <cerrno>
#include <string>

namespace gb::detail {

// Configuration operations report unparsable text with this number.
constexpr int kBadText = EINVAL;
static_assert(kBadText == 22, "unparsable text is reported as 22");

// "<major>.<minor>" of the configuration format this release writes.
std::string version_text();

} // namespace gb::detail

#endif
