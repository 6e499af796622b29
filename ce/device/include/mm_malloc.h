// Empty, in front of the compiler's header of this name, which mingw's <malloc.h> includes: that one is about vectors of
// other processors.
#pragma once
