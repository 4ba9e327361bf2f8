# The Debian package, built by "make deb" (CPack). Only kaveldesk's component goes into it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kaveldesk)
set(CPACK_PACKAGE_CONTACT "dravo_kavel maintainers <maintainers@dravo-kavel.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "find the cause in the archives of dravo_kavel")
set(CPACK_PACKAGE_DESCRIPTION "kaveldesk reads the archives that the daemon dravo_kavel collects on
Android phones: one timeline of all logs, the cause with its evidence, a
report page, and masked copies.")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL kaveldesk)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)  # the libraries that the program links
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
