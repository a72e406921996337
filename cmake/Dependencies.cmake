# Every third-party library comes from a Debian package; imported targets keep their headers
# out of our warnings-as-errors.
find_package(PkgConfig REQUIRED)
pkg_check_modules(EPOXY REQUIRED IMPORTED_TARGET epoxy)
pkg_check_modules(GLFW REQUIRED IMPORTED_TARGET glfw3)
pkg_check_modules(GLM REQUIRED IMPORTED_TARGET glm)
pkg_check_modules(IMGUI REQUIRED IMPORTED_TARGET imgui)
pkg_check_modules(STB REQUIRED IMPORTED_TARGET stb)
pkg_check_modules(BULLET REQUIRED IMPORTED_TARGET bullet)
pkg_check_modules(ASSIMP REQUIRED IMPORTED_TARGET assimp)
pkg_check_modules(FREETYPE REQUIRED IMPORTED_TARGET freetype2)
pkg_check_modules(SQUISH REQUIRED IMPORTED_TARGET libsquish)
pkg_check_modules(FMT REQUIRED IMPORTED_TARGET fmt)
find_package(RapidJSON REQUIRED)
find_package(GTest REQUIRED)
find_package(benchmark REQUIRED)
find_package(Threads REQUIRED)

add_library(Ardentis::RapidJSON INTERFACE IMPORTED)
target_include_directories(Ardentis::RapidJSON SYSTEM INTERFACE ${RapidJSON_INCLUDE_DIRS} ${RAPIDJSON_INCLUDE_DIRS})
# The packaged imgui.a is built with stb and needs it at link time.
add_library(Ardentis::ImGui INTERFACE IMPORTED)
target_link_libraries(Ardentis::ImGui INTERFACE PkgConfig::IMGUI PkgConfig::STB PkgConfig::GLFW)
