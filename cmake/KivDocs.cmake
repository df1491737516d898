# Installs README and docs/ as they lie in the sources, so that links between the pages work. Links to
# headers lead to the installed ones; of other links into the sources the text is left.

# kiv_install_page(<page> <way from the page's directory to the top of the sources>)
function(kiv_install_page page to_top)
  get_filename_component(directory "${page}" DIRECTORY)
  set(output "${PROJECT_BINARY_DIR}/installed_docs/${page}")
  set_property(DIRECTORY "${PROJECT_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
                                                                 "${PROJECT_SOURCE_DIR}/${page}")
  file(RELATIVE_PATH headers "${CMAKE_INSTALL_FULL_DOCDIR}/${directory}"
       "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
  file(READ "${PROJECT_SOURCE_DIR}/${page}" text)
  foreach(public services/kiv/telemetry/include services/kiv/common/include tamsa/include
                 testing/include)
    string(REPLACE "](${to_top}${public}/" "](${headers}/" text "${text}")
  endforeach()
  string(REPLACE "](${to_top}modules/recording/Recorder.h" "](${headers}/tamsa/recording/Recorder.h"
                 text "${text}")
  string(
    REGEX
    REPLACE
      "\\[([^]]*)\\]\\((\\.\\./)*(services|tamsa|platform|modules|testing|tools|examples|bench|tests|scripts|CONTRIBUTING)[^)]*\\)"
      "\\1"
      text
      "${text}")
  file(WRITE "${output}.new" "${text}")
  file(COPY_FILE "${output}.new" "${output}" ONLY_IF_DIFFERENT)
  install(FILES "${output}" DESTINATION "${CMAKE_INSTALL_DOCDIR}/${directory}")
endfunction()

kiv_install_page(README.md "")
kiv_install_page(CHANGELOG.md "")
file(
  GLOB pages
  RELATIVE "${PROJECT_SOURCE_DIR}"
  "${PROJECT_SOURCE_DIR}/docs/*.md")
set_property(DIRECTORY "${PROJECT_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
                                                               "${PROJECT_SOURCE_DIR}/docs")
foreach(page ${pages})
  kiv_install_page(${page} "../")
endforeach()
kiv_install_page(docs/benchmarks/README.md "../../")
install(FILES docs/events.schema.json DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs")
install(
  DIRECTORY docs/benchmarks
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs"
  FILES_MATCHING
  PATTERN "*.svg")

if(KIV_BUILD_REFERENCE)
  find_package(Doxygen REQUIRED)
  configure_file(docs/reference/Doxyfile.in "${PROJECT_BINARY_DIR}/Doxyfile" @ONLY)
  file(GLOB reference_input services/kiv/*/include/kiv/*.h tamsa/include/tamsa/*.h
       testing/include/kiv/testing/*.h docs/reference/*)
  add_custom_command(
    OUTPUT "${PROJECT_BINARY_DIR}/reference/index.html"
    COMMAND Doxygen::doxygen "${PROJECT_BINARY_DIR}/Doxyfile"
    WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}"
    DEPENDS ${reference_input}
    COMMENT "Making the API reference"
    VERBATIM)
  add_custom_target(reference ALL DEPENDS "${PROJECT_BINARY_DIR}/reference/index.html")
  install(DIRECTORY "${PROJECT_BINARY_DIR}/reference" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
endif()
