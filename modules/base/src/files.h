// Private helpers of libVelBase for the files made beside others.
#ifndef VELBASE_FILES_H
#define VELBASE_FILES_H

#include "velbase_files.h"

#include <cstddef>
#include <string>

namespace velbase {

// The path of a file beside target named prefix + target's name + suffix. When
// that name would exceed what the directory allows, target's name is cut (at
// a whole UTF-8 character) and a hash of it keeps the result distinct.
std::string siblingPath(const std::string& target, const std::string& prefix,
                        const std::string& suffix);

} // namespace velbase

#endif
