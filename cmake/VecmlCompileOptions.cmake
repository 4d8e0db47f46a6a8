# Warning, arithmetic and sanitizer settings shared by every target of the
# project (library, plug-ins, tests, examples).
add_library(vecml_build_options INTERFACE)

target_compile_options(vecml_build_options INTERFACE
  -Wall -Wextra
  # Results are bit-exact: no contraction of a*b+c into a fused operation
  # unless the code asks for std::fma.
  -ffp-contract=off
  $<$<BOOL:${VECML_WERROR}>:-Werror>)

if(VECML_SANITIZE)
  set(VECML_SANITIZER_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(vecml_build_options INTERFACE ${VECML_SANITIZER_FLAGS})
  target_link_options(vecml_build_options INTERFACE ${VECML_SANITIZER_FLAGS})
endif()

if(VECML_SANITIZE_THREAD)
  if(VECML_SANITIZE)
    message(FATAL_ERROR "VECML_SANITIZE_THREAD cannot be combined with VECML_SANITIZE")
  endif()
  set(VECML_THREAD_SANITIZER_FLAGS -fsanitize=thread -fno-omit-frame-pointer)
  target_compile_options(vecml_build_options INTERFACE ${VECML_THREAD_SANITIZER_FLAGS})
  target_link_options(vecml_build_options INTERFACE ${VECML_THREAD_SANITIZER_FLAGS})
endif()
