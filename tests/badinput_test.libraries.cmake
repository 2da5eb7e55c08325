find_package(nlohmann_json REQUIRED)
# The test measures what the library allocates.
set(libraries nlohmann_json::nlohmann_json
    -Wl,--wrap=malloc -Wl,--wrap=calloc -Wl,--wrap=realloc -Wl,--wrap=free)
