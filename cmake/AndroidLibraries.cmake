# Debian's Android libraries: no pkg-config files and no linker cache entry, so both the
# search path and the run path are given here. Headers come in as system headers, behind
# our overlays (host/overlay) for the ones Debian ships incomplete.

set(KAVEL_ANDROID_LIBDIR /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android)
if(NOT EXISTS ${KAVEL_ANDROID_LIBDIR}/liblog.so)
    message(FATAL_ERROR "Android libraries not found in ${KAVEL_ANDROID_LIBDIR}: run 'make setup'")
endif()

add_library(android_libraries INTERFACE)
target_include_directories(android_libraries SYSTEM INTERFACE
    ${CMAKE_SOURCE_DIR}/host/overlay /usr/include/android)
target_link_directories(android_libraries INTERFACE ${KAVEL_ANDROID_LIBDIR})
target_link_options(android_libraries INTERFACE -Wl,-rpath,${KAVEL_ANDROID_LIBDIR}
    -Wl,-rpath-link,${KAVEL_ANDROID_LIBDIR})
target_link_libraries(android_libraries INTERFACE utils cutils base log)
target_link_libraries(kavel_flags INTERFACE android_libraries)
