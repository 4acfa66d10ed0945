// Private helpers of libVelBase for small files and the files made beside them.
#ifndef VELBASE_FILES_H
#define VELBASE_FILES_H

#include <cstddef>
#include <string>

namespace velbase {

// Reads a whole regular file of at most maxBytes into text; 0 or an error
// number (ENOENT for a missing file, EFBIG beyond maxBytes, EINVAL for a
// device or FIFO). text is left as it was on failure.
int readSmallFile(const std::string& path, size_t maxBytes, std::string& text);

// The path of a file beside target named prefix + target's name + suffix. When
// that name would exceed what the directory allows, target's name is cut (at
// a whole UTF-8 character) and a hash of it keeps the result distinct.
std::string siblingPath(const std::string& target, const std::string& prefix,
                        const std::string& suffix);

} // namespace velbase

#endif
