# SPDX-License-Identifier: MIT
# Where manual pages and completions are installed. The components are updater (for a board), tools (sv_image), sim
# (sv_board) and fleet (adapters).

set(SV_BASH_COMPLETION_DIR ${CMAKE_INSTALL_DATADIR}/bash-completion/completions CACHE STRING "Folder of bash completions")
set(SV_ZSH_COMPLETION_DIR ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions CACHE STRING "Folder of zsh completions")
set(SV_FISH_COMPLETION_DIR ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d CACHE STRING "Folder of fish completions")

# sv_install_man(component page...): a page is NAME.SECTION
function(sv_install_man component)
  foreach(page ${ARGN})
    string(REGEX REPLACE ".*\\." "" section ${page})
    install(FILES ${PROJECT_SOURCE_DIR}/share/man/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
            COMPONENT ${component})
  endforeach()
endfunction()

# sv_install_help(component program section...): the manual pages of a program, and its completion
function(sv_install_help component program)
  list(TRANSFORM ARGN PREPEND ${program}. OUTPUT_VARIABLE pages)
  sv_install_man(${component} ${pages})
  set(completion ${PROJECT_SOURCE_DIR}/share/completion)
  install(FILES ${completion}/${program}.bash DESTINATION ${SV_BASH_COMPLETION_DIR} COMPONENT ${component}
          RENAME ${program})
  install(FILES ${completion}/_${program} DESTINATION ${SV_ZSH_COMPLETION_DIR} COMPONENT ${component})
  install(FILES ${completion}/${program}.fish DESTINATION ${SV_FISH_COMPLETION_DIR} COMPONENT ${component})
endfunction()

# sv_install_sbin_link(component program): a relative link to the program, for scripts that name it in sbin
function(sv_install_sbin_link component program)
  file(RELATIVE_PATH target ${CMAKE_INSTALL_FULL_SBINDIR} ${CMAKE_INSTALL_FULL_BINDIR}/${program})
  set(link ${PROJECT_BINARY_DIR}/sbin/${program})
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/sbin)
  file(CREATE_LINK ${target} ${link} SYMBOLIC)
  install(FILES ${link} DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT ${component})
endfunction()
