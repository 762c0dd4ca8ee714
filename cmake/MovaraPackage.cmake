# Debian packages of the two components: movara and movara-dev. scripts/package makes them.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME movara)
set(CPACK_PACKAGE_VENDOR movara)
set(CPACK_PACKAGE_CONTACT "movara developers <developers@movara.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL client development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_DEBIAN_CLIENT_PACKAGE_NAME movara)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SECTION video)
set(CPACK_COMPONENT_CLIENT_DESCRIPTION
    "shares movies and sound files in online meetings
The plug-in with which a participant of a meeting shares a local file as a
live stream, the log bundle, and movara-meeting, a reference meeting that
loads the plug-in and shares real files.")
set(CPACK_DEBIAN_CLIENT_PACKAGE_SHLIBDEPS ON)
# The bundle's own libraries are in no package that dpkg-shlibdeps could name.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${MOVARA_APP_CONTENTS}/Frameworks)
set(CPACK_DEBIAN_CLIENT_PACKAGE_DEPENDS fonts-dejavu-core)
set(CPACK_DEBIAN_CLIENT_PACKAGE_RECOMMENDS ffmpeg)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME movara-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "builds hosts for the plug-in that shares movies in online meetings
The contract between host and plug-in, the libraries that both link, a CMake
package and a pkg-config file.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "movara (= ${PROJECT_VERSION})")

include(CPack)
