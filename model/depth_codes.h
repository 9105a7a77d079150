// depth_codes.h — the depths a traced picture holds where a ray hit nothing.
// The renderer writes them, navigation reads them, and the fractal shaders get
// them as NO_HIT and HIT_LIMIT defines made from these same numbers.
#pragma once

inline constexpr float kNoHit = 10000;        // the depth of a ray that hit nothing
inline constexpr float kHitLimit = 9000;      // depths at or above this count as misses
