# The open store is loaded at run time, and the program is measured as users run it.
set(libraries)
if(TARGET Qsrv_22_2 AND SBRKIT_BUILD_TOOLS)
  add_library(store_bench_parts INTERFACE)
  target_compile_definitions(store_bench_parts INTERFACE
    SBRKIT_STORE_DIRECTORY="${PROJECT_BINARY_DIR}/plugins" SBR_PROGRAM="$<TARGET_FILE:sbr>")
  add_dependencies(store_bench_parts Qsrv_22_2 sbr)
  set(libraries store_bench_parts)
endif()
