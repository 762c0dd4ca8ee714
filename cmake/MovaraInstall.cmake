# What is installed, in two components: the client with its plug-ins, and what hosts are built with.

include(CMakePackageConfigHelpers)

# --- client: the bundle as it lies in the build, and the program on the path ---

install(TARGETS movara-meeting movara-contract-cases
        RUNTIME DESTINATION ${MOVARA_APP_INSTALLED}/Linux COMPONENT client)
install(
  TARGETS platform avcapture
  EXPORT movara
  LIBRARY DESTINATION ${MOVARA_APP_INSTALLED}/Frameworks COMPONENT client)
install(TARGETS avcapture-sound avcapture-turning
        LIBRARY DESTINATION ${MOVARA_APP_INSTALLED}/Frameworks COMPONENT client)
foreach(bundle IN ITEMS movara lumtrace validate-host)
  install(
    TARGETS ${bundle}_bundle
    LIBRARY DESTINATION ${MOVARA_APP_INSTALLED}/PlugIns/${bundle}.bundle/Contents/Linux
            COMPONENT client)
endforeach()

# A relative link, so that an installed copy can be moved as a whole.
file(RELATIVE_PATH program /${CMAKE_INSTALL_BINDIR} /${MOVARA_APP_INSTALLED}/Linux/movara-meeting)
install(
  CODE "
  set(bin \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
  file(MAKE_DIRECTORY \"\${bin}\")
  file(CREATE_LINK \"${program}\" \"\${bin}/movara-meeting\" SYMBOLIC)"
  COMPONENT client)

set(manual ${PROJECT_BINARY_DIR}/manual)
install(FILES ${manual}/movara-meeting.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT client)
install(
  FILES ${manual}/movara-meeting.bash
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  RENAME movara-meeting
  COMPONENT client)
# Debian has one folder for what its packages bring, and another for what is added beside them.
set(zsh site-functions)
if(CMAKE_INSTALL_PREFIX STREQUAL /usr AND EXISTS /etc/debian_version)
  set(zsh vendor-completions)
endif()
install(FILES ${manual}/_movara-meeting DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/${zsh}
        COMPONENT client)
install(FILES ${manual}/movara-meeting.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT client)
install(FILES meeting/movara-meeting.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications
        COMPONENT client)
install(
  FILES LICENSE
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  RENAME copyright
  COMPONENT client)
# What its readers need who have no source tree, as it lies there, so that links lead on.
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT client)
install(
  FILES docs/contract.md docs/measurements.md docs/promises.md docs/recordings.md docs/records.md
        docs/room.png
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs
  COMPONENT client)

# --- development: headers, and how to find them and the libraries ---

install(TARGETS movara_contract EXPORT movara)
install(
  DIRECTORY include/ucf include/mmp
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/movara
  COMPONENT development
  FILES_MATCHING
  PATTERN "*.h")
install(
  DIRECTORY platform
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/movara
  COMPONENT development
  FILES_MATCHING
  PATTERN "*.h"
  PATTERN "*Impl.h" EXCLUDE)
# What a log bundle of somebody else exports.
install(
  FILES lumtrace/lumtrace.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/movara/lumtrace
  COMPONENT development)
# Of the capture framework, the player view: a host presses its buttons and reads its status.
install(
  FILES avcapture/AVURLAsset.h avcapture/AudioTypes.h avcapture/Export.h avcapture/KTVideoPlayer.h
        avcapture/Protocols.h avcapture/StatusText.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/movara/avcapture
  COMPONENT development)

set_target_properties(movara_contract PROPERTIES EXPORT_NAME contract)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/movara)
install(
  EXPORT movara
  NAMESPACE movara::
  FILE movaraConfig.cmake
  DESTINATION ${package}
  COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/movaraConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/movaraConfigVersion.cmake
  DESTINATION ${package}
  COMPONENT development)

file(RELATIVE_PATH MOVARA_PREFIX_FROM_PKGCONFIG /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/movara.pc.in ${PROJECT_BINARY_DIR}/movara.pc @ONLY)
install(
  FILES ${PROJECT_BINARY_DIR}/movara.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

install(FILES ${manual}/movara.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7 COMPONENT development)
install(
  DIRECTORY examples
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT development)
install(
  FILES LICENSE
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/movara-dev
  RENAME copyright
  COMPONENT development)
