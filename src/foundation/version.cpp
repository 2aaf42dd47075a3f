#include "vesk/version.h"

unsigned int vesk_version()
{
    return VESK_VERSION;
}
