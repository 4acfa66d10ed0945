// Private helper of libVelBase: hands a string to a caller's C buffer.
#ifndef VELBASE_COPY_OUT_H
#define VELBASE_COPY_OUT_H

#include <cerrno>
#include <cstring>
#include <string>

namespace velbase {

// Copies text with its terminating zero; ERANGE leaves buf untouched.
inline int copyOut(const std::string& text, char* buf, unsigned int size)
{
    if (!buf || size == 0)
        return EINVAL;
    if (text.size() + 1 > size)
        return ERANGE;
    std::memcpy(buf, text.c_str(), text.size() + 1);
    return 0;
}

} // namespace velbase

#endif
