find_package(nlohmann_json REQUIRED)
set(libraries nlohmann_json::nlohmann_json)
add_dependencies(sbrkit_test_support sbr)
set_source_files_properties(${name}.cpp PROPERTIES COMPILE_DEFINITIONS "SBR_PROGRAM=\"$<TARGET_FILE:sbr>\"")
