/* <cutils/properties.h> wants this bionic header; the limits are those of bionic. */
#pragma once

#define PROP_NAME_MAX 32
#define PROP_VALUE_MAX 92
