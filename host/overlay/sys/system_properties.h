/* <cutils/properties.h> includes this header of bionic for its limits. */
#pragma once

#define PROP_NAME_MAX 32
#define PROP_VALUE_MAX 92
