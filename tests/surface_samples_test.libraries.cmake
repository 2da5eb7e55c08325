find_package(nlohmann_json REQUIRED)
set(libraries nlohmann_json::nlohmann_json)
