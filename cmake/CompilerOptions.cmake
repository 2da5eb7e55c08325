# The options that every target of the project is compiled with. Floating-point contraction stays off: the order and
# the rounding of each operation are part of what the library promises.
add_library(sbrkit_options INTERFACE)
target_compile_options(sbrkit_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -ffp-contract=off)
# Another compiler may warn of something new: that stops a developer, never a user.
if(SBRKIT_WARNINGS_AS_ERRORS)
  target_compile_options(sbrkit_options INTERFACE -Werror)
endif()
if(SBRKIT_SANITIZE)
  # GCC takes the sanitizers' own code in the standard library for uninitialized use.
  target_compile_options(sbrkit_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(sbrkit_options INTERFACE -fsanitize=address,undefined)
  # A host in C that uses the library needs the part of clang's sanitizers that C++ calls.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_link_options(sbrkit_options INTERFACE $<$<LINK_LANGUAGE:C>:-fsanitize-link-c++-runtime>)
    target_link_libraries(sbrkit_options INTERFACE $<$<LINK_LANGUAGE:C>:stdc++>)
  endif()
endif()
if(SBRKIT_COVERAGE)
  target_compile_options(sbrkit_options INTERFACE --coverage)
  target_link_options(sbrkit_options INTERFACE --coverage)
endif()

# What the library and the programs are held to besides.
add_library(sbrkit_strict_options INTERFACE)
target_link_libraries(sbrkit_strict_options INTERFACE sbrkit_options)
target_compile_options(sbrkit_strict_options INTERFACE -Wconversion -Wno-sign-conversion)
