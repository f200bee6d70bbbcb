# The package of zeldc: the targets zeldc::zeldc and zeldc::zelcore. It looks for nothing else.
include("${CMAKE_CURRENT_LIST_DIR}/zeldcTargets.cmake")
