# The manual pages, where what makes them is installed: options from what the command says of itself,
# all else from the documents.
find_program(GO_MD2MAN go-md2man)
find_package(Python3 COMPONENTS Interpreter)
if(GO_MD2MAN AND Python3_FOUND)
  set(manuals ${CMAKE_CURRENT_BINARY_DIR}/manuals)
  file(GLOB sources CONFIGURE_DEPENDS tools/manuals/*.py)
  add_custom_command(OUTPUT ${manuals}.stamp
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${manuals}
    COMMAND Python3::Interpreter -B ${CMAKE_CURRENT_SOURCE_DIR}/tools/manuals/make_manuals.py
      --command $<TARGET_FILE:scsitool_command> --version ${PROJECT_VERSION} --output ${manuals}
      --md2man ${GO_MD2MAN}
    COMMAND ${CMAKE_COMMAND} -E touch ${manuals}.stamp
    DEPENDS scsitool_command ${sources} docs/scsitool.md docs/recorded-host.md docs/libscsitool.md
    COMMENT "Making the manual pages" VERBATIM)
  add_custom_target(manuals ALL DEPENDS ${manuals}.stamp)
  foreach(section 1 3 5)
    install(DIRECTORY ${manuals}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
      FILES_MATCHING PATTERN *.${section})
  endforeach()
endif()
