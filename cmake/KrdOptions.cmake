# What every target of the project is compiled with: warnings, sanitizers, one floating-point rule.

add_library(krd_options INTERFACE)
target_compile_features(krd_options INTERFACE cxx_std_20)
# No fused multiply-add: every machine computes the same numbers.
target_compile_options(krd_options INTERFACE -ffp-contract=off)

target_compile_options(krd_options INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
  -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wimplicit-fallthrough>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(krd_options INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-Wduplicated-cond -Wlogical-op>)
endif()
if(KRD_WERROR)
  target_compile_options(krd_options INTERFACE -Werror)
endif()
if(KRD_SANITIZE)
  target_compile_options(krd_options INTERFACE -fsanitize=${KRD_SANITIZE}
                         -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(krd_options INTERFACE -fsanitize=${KRD_SANITIZE})
endif()
