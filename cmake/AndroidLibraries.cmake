# Debian's Android libraries have no pkg-config files and no linker cache entry, so the search path
# and the run path are both given here. The headers are system headers, after our overlays
# (host/overlay) for those that are incomplete in Debian. CMAKE_SYSROOT is empty except in a
# cross-build; the run path is that of the machine that runs the programs.

set(KAVEL_ANDROID_LIBDIR /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android)
if(NOT EXISTS ${CMAKE_SYSROOT}${KAVEL_ANDROID_LIBDIR}/liblog.so)
    message(FATAL_ERROR "Android libraries not found in ${CMAKE_SYSROOT}${KAVEL_ANDROID_LIBDIR}: "
        "run 'make setup', or scripts/arm64-sysroot.sh for arm64")
endif()

add_library(android_libraries INTERFACE)
target_include_directories(android_libraries SYSTEM INTERFACE
    ${CMAKE_SOURCE_DIR}/host/overlay ${CMAKE_SYSROOT}/usr/include/android)
target_link_directories(android_libraries INTERFACE ${CMAKE_SYSROOT}${KAVEL_ANDROID_LIBDIR})
target_link_options(android_libraries INTERFACE -Wl,-rpath,${KAVEL_ANDROID_LIBDIR}
    -Wl,-rpath-link,${CMAKE_SYSROOT}${KAVEL_ANDROID_LIBDIR})
# These libraries use libstdc++. Their functions with standard types in the signature have other
# symbol names than with libc++, so a program with libc++ that calls one does not link.
if(KAVEL_LIBCXX)
    target_link_libraries(android_libraries INTERFACE kavel_libcxx_base)
endif()
target_link_libraries(android_libraries INTERFACE utils cutils base log)
target_link_libraries(kavel_flags INTERFACE android_libraries)
