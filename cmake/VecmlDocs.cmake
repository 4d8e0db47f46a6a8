# `cmake --build <dir> --target docs` writes HTML API documentation to
# <dir>/docs/html from the Doxygen comments of the public headers, when
# Doxygen is installed (Debian: doxygen). Without it the target is absent.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  return()
endif()

set(DOXYGEN_PROJECT_NAME "vecml")
set(DOXYGEN_PROJECT_BRIEF "${PROJECT_DESCRIPTION}")
set(DOXYGEN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/docs)
set(DOXYGEN_USE_MDFILE_AS_MAINPAGE ${PROJECT_SOURCE_DIR}/README.md)
set(DOXYGEN_EXCLUDE_SYMBOLS "vecml::detail" "VECML_*")
set(DOXYGEN_EXTRACT_ALL YES)
set(DOXYGEN_HIDE_UNDOC_RELATIONS NO)
set(DOXYGEN_WARN_IF_UNDOCUMENTED NO)
set(DOXYGEN_STRIP_FROM_PATH ${PROJECT_SOURCE_DIR})
set(DOXYGEN_STRIP_FROM_INC_PATH ${PROJECT_SOURCE_DIR})
set(DOXYGEN_FILE_PATTERNS "*.h" "*.md")
set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_QUIET YES)

file(GLOB_RECURSE vecml_doc_headers CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/vecml/*.h)
list(FILTER vecml_doc_headers EXCLUDE REGEX "/detail/")
doxygen_add_docs(docs
  ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/SECURITY.md
  ${PROJECT_SOURCE_DIR}/data/README.md ${PROJECT_SOURCE_DIR}/fuzz/README.md
  ${vecml_doc_headers}
  COMMENT "API documentation in ${PROJECT_BINARY_DIR}/docs/html")
