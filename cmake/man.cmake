# The man pages of tovport and tovport-phone: written once in scdoc under docs/man/, turned into
# roff and compressed (as Debian ships them) at build time. Without scdoc (the demo does not install
# it) the build goes on without them; scripts/package installs it.
find_program(TOVPORT_SCDOC scdoc)
if(NOT TOVPORT_SCDOC)
  message(STATUS "scdoc not found: the man pages are not built")
  return()
endif()
find_program(TOVPORT_GZIP gzip REQUIRED)

set(TOVPORT_MAN_PAGES)
foreach(page tovport.1 tovport-phone.1)
  set(source ${PROJECT_SOURCE_DIR}/docs/man/${page}.scd)
  set(roff ${PROJECT_BINARY_DIR}/man/${page})
  # gzip -n: no name or time stamp in the archive, so the same page gives the same bytes.
  add_custom_command(OUTPUT ${roff}.gz
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
    COMMAND sh -c "'${TOVPORT_SCDOC}' < '${source}' > '${roff}' && '${TOVPORT_GZIP}' -9nf '${roff}'"
    DEPENDS ${source}
    COMMENT "Generating the man page ${page}" VERBATIM)
  list(APPEND TOVPORT_MAN_PAGES ${roff}.gz)
endforeach()
add_custom_target(tovport_man ALL DEPENDS ${TOVPORT_MAN_PAGES})
install(FILES ${TOVPORT_MAN_PAGES} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
