/* Debian's header uses std::unique_ptr and numeric limits without including them. */
#pragma once
#pragma GCC system_header

#include <limits>
#include <memory>

#include_next <binder/IInterface.h>
