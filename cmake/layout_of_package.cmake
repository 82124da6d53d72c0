# Read by CPack for each package that it makes: which layout goes into it.
set(layout folder)
if(CPACK_GENERATOR STREQUAL DEB)
  set(layout system)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
endif()
list(GET CPACK_INSTALL_CMAKE_PROJECTS 0 build_folder)
set(CPACK_INSTALL_CMAKE_PROJECTS ${build_folder} tidewright ${layout} /)
