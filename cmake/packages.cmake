# What is installed where, and the packages that CPack makes of it; tools/package.sh makes and tries them all.
set(programs tidewright)
if(WIN32)
  list(APPEND programs tidewrightc)
endif()

# The program and its base stand in one folder, in every layout: there the program looks for it.
function(layout component program_folder manual_folder)
  install(TARGETS ${programs} DESTINATION ${program_folder} COMPONENT ${component} ${ARGN})
  install(DIRECTORY base DESTINATION ${program_folder} COMPONENT ${component} ${ARGN})
  install(DIRECTORY docs DESTINATION ${manual_folder} COMPONENT ${component} ${ARGN}
    FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
  # The manual as HTML, where tools/manual.sh has made it.
  install(DIRECTORY build/manual DESTINATION ${manual_folder} COMPONENT ${component} OPTIONAL ${ARGN})
  install(DIRECTORY editors DESTINATION ${manual_folder} COMPONENT ${component} ${ARGN})
  # Not what somebody has burned or encoded there.
  install(DIRECTORY examples DESTINATION ${manual_folder} COMPONENT ${component} ${ARGN} USE_SOURCE_PERMISSIONS
    FILES_MATCHING PATTERN "*.md" PATTERN "*.psc" PATTERN "*.psh" PATTERN "*.sh")
  install(FILES README.md DESTINATION ${manual_folder} COMPONENT ${component} ${ARGN})
endfunction()

# One folder that is unpacked anywhere: the archives.
layout(folder . . EXCLUDE_FROM_ALL)
install(FILES LICENSE DESTINATION . COMPONENT folder EXCLUDE_FROM_ALL)
if(WIN32)
  # Its maker wants a shell, which Windows lacks.
  install(CODE "execute_process(COMMAND \"${CMAKE_SOURCE_DIR}/examples/harbour/make_image.sh\"
    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/examples/harbour/harbour.bin\" COMMAND_ERROR_IS_FATAL ANY)"
    COMPONENT folder EXCLUDE_FROM_ALL)
else()
  # Parts of a system: the Debian package, and `cmake --install`.
  layout(system lib/tidewright share/doc/tidewright)
  install(FILES LICENSE DESTINATION share/doc/tidewright COMPONENT system RENAME copyright)
  install(FILES ${CMAKE_BINARY_DIR}/tidewright.1.gz DESTINATION share/man/man1 COMPONENT system)
  install(FILES editors/tidewright.bash DESTINATION share/bash-completion/completions COMPONENT system RENAME tidewright)
  # The program follows the link to its own folder.
  install(CODE "file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
    file(CREATE_LINK ../lib/tidewright/tidewright \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/tidewright\" SYMBOLIC)"
    COMPONENT system)
endif()

set(CPACK_PACKAGE_NAME tidewright)
set(CPACK_PACKAGE_VENDOR "the Tidewright authors")
set(CPACK_PACKAGE_CONTACT "the Tidewright authors <tidewright@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "compiles scripts of game data commands into image files")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_SOURCE_DIR}/build/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_SOURCE_DIR}/cmake/layout_of_package.cmake)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME tidewright-${PROJECT_VERSION}-windows)
else()
  set(CPACK_GENERATOR TGZ DEB)
  set(CPACK_PACKAGE_FILE_NAME tidewright-${PROJECT_VERSION}-linux-${CMAKE_SYSTEM_PROCESSOR})
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "Scripts are compiled with a command database, a plain text file, so that it
fits any game; labels are placed in the image and pointers patched. Byte code
of an image is written as a script that compiles to the same bytes.")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_SOURCE_DIR}/cmake/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
