// The grey palette: five opaque greys for backgrounds and separators, from the darkest,
// systemGray2 (white level 0.2), to the lightest, systemGray6 (0.6).
//
//   std::shared_ptr<const telvor::Color> grey = telvor::systemGray4();
//   grey->whiteLevel;                 // 0.4
//   grey == telvor::systemGray4();    // true: the very same object
//
// Each shade is one colour object shared by the whole process: created on the first read
// of that shade (and of that shade only), never changed, never released while the process
// runs. Every read returns a new shared_ptr to that same object, so callers may keep it
// for as long as they like. The first read of a shade is safe when it happens on several
// threads at once: exactly one creates the colour, the others wait for it; later reads
// take no lock. This palette is the library's only shared state.
//
// These greys are the palette's own, not the system grey of a node status.
#pragma once

#include <cstddef>
#include <memory>

#include "telvor/platform/color.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

// The shades, darkest first.
enum class GrayShade { systemGray2, systemGray3, systemGray4, systemGray5, systemGray6 };

// The shared colour of `shade`: white level 0.2, 0.3, 0.4, 0.5 or 0.6 (the doubles
// nearest those fractions), alpha 1.0. Throws std::out_of_range for a value that names
// no shade, and std::bad_alloc if the first read cannot allocate (a later read retries).
TELVOR_API std::shared_ptr<const Color> systemGray(GrayShade shade);

inline std::shared_ptr<const Color> systemGray2() { return systemGray(GrayShade::systemGray2); }
inline std::shared_ptr<const Color> systemGray3() { return systemGray(GrayShade::systemGray3); }
inline std::shared_ptr<const Color> systemGray4() { return systemGray(GrayShade::systemGray4); }
inline std::shared_ptr<const Color> systemGray5() { return systemGray(GrayShade::systemGray5); }
inline std::shared_ptr<const Color> systemGray6() { return systemGray(GrayShade::systemGray6); }

// How many times `shade` has been created in this process: 0 before its first read, 1
// after, never more. For diagnostics and tests; 0 for a value that names no shade.
TELVOR_API std::size_t paletteCreationCount(GrayShade shade) noexcept;

}  // namespace telvor
