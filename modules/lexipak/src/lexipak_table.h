// The phrase book of driver option texts, kept apart from the lookup code so
// that it can grow without touching the logic.
#ifndef LEXIPAK_TABLE_H
#define LEXIPAK_TABLE_H

#include <cstddef>

namespace lexipak {

struct Phrase {
    const char* simplified;   // as the driver writes it (UTF-8)
    const char* traditional;
    const char* english;
};

// Unique in each of the three columns, so every lookup has one answer.
extern const Phrase kPhrases[];
extern const std::size_t kPhraseCount;

} // namespace lexipak

#endif
