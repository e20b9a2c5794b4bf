include(${CMAKE_CURRENT_LIST_DIR}/HeaderLibrary.cmake)
orvex_header_library(nlohmann_json::nlohmann_json nlohmann)
set(nlohmann_json_FOUND TRUE)
