// Whether this build has the code that exists for speed alone. The sound is the same without it.
#pragma once

#ifdef TREADSHIFT_PLAIN_ENGINE
inline constexpr bool kFast = false;
#else
inline constexpr bool kFast = true;
#endif
