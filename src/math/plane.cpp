// Puts the inline functions of planes into the library.

#define VESK_EMIT_KIT
#include "vesk/plane.h"
