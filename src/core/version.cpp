// The constant version record.

#include "zeldc/types.h"

static constexpr zelLibraryVersion kVersion = {
    .major = 6,
    .minor = 1,
    .majorBuild = 137,
    .build = 718,
    .targetCpu = {'s', '8', 0, 0},
    .name = "zeldcs8-6.1.dll",
    .version = "6.1 build 137.20",
    .buildDate = "Jun 10 2009",
};

extern "C" const zelLibraryVersion* zeldcGetLibVersion(void) { return &kVersion; }
