include(DebianHeaders)
tarnwick_debian_headers(nlohmann_json::nlohmann_json nlohmann)
set(nlohmann_json_FOUND TRUE)
