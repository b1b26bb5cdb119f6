# What an installation holds: the libraries with their headers, how to find them, and the command.
include(CMakePackageConfigHelpers)

install(TARGETS scsitool EXPORT scsitool LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TARGET scsitool_hosts)
  install(TARGETS scsitool_hosts EXPORT scsitool_hosts LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(EXPORT scsitool_hosts NAMESPACE scsitool:: FILE scsitool-hosts-targets.cmake
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/scsitool)
endif()
install(EXPORT scsitool NAMESPACE scsitool:: FILE scsitool-targets.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/scsitool)
configure_package_config_file(cmake/scsitool-config.cmake.in scsitool-config.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/scsitool PATH_VARS CMAKE_INSTALL_DATADIR)
write_basic_package_version_file(scsitool-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/scsitool-config.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/scsitool-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/scsitool)
file(RELATIVE_PATH pc_to_prefix
  /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
set(pkg_config_files scsitool.pc)
if(TARGET scsitool_hosts)
  list(APPEND pkg_config_files scsitool-hosts.pc)
endif()
foreach(file ${pkg_config_files})
  configure_file(cmake/${file}.in ${file} @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${file}
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
# A distribution calls the package of the headers -dev or -devel; what belongs to it is documented there.
set(SCSITOOL_DEVELOPMENT_PACKAGE libscsitool-dev CACHE STRING "The package that holds the headers")
install(DIRECTORY examples/
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${SCSITOOL_DEVELOPMENT_PACKAGE}/examples)

if(TARGET scsitool_command)
  set_target_properties(scsitool_command PROPERTIES
    INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS scsitool_command RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  file(GLOB schemas CONFIGURE_DEPENDS cli/output/*.schema.json src/recording/*.schema.json)
  install(FILES ${schemas} DESTINATION ${CMAKE_INSTALL_DATADIR}/scsitool)
  install(DIRECTORY samples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/scsitool/samples
    FILES_MATCHING PATTERN *.json PATTERN *.txt)
  install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN *.md)
  # A document: whoever wants the links copies it to where udev looks.
  install(FILES packaging/udev/66-scsitool.rules DESTINATION ${CMAKE_INSTALL_DOCDIR})
  include(cmake/manuals.cmake)
  install(FILES packaging/completion/scsitool.bash RENAME scsitool
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES packaging/completion/_scsitool
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
  install(FILES packaging/completion/scsitool.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()
