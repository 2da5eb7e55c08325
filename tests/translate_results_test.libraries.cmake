find_package(nlohmann_json REQUIRED)
set(libraries sbr_translators ZLIB::ZLIB nlohmann_json::nlohmann_json)
