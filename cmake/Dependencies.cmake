# Everything from outside, all of it from Debian packages (packages.txt).
find_package(Threads REQUIRED)
find_package(Boost 1.74 REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
pkg_check_modules(sndfile REQUIRED IMPORTED_TARGET sndfile)
pkg_check_modules(cairo REQUIRED IMPORTED_TARGET cairo)

if(NOT EXISTS "${CLAP_INCLUDE_DIR}/clap/entry.h")
    message(FATAL_ERROR "No clap/entry.h below CLAP_INCLUDE_DIR (${CLAP_INCLUDE_DIR}): "
                        "install dpf-source or name another folder")
endif()
add_library(clap_headers INTERFACE)
target_include_directories(clap_headers SYSTEM INTERFACE "${CLAP_INCLUDE_DIR}")

if(BUILD_TESTING)
    find_package(GTest REQUIRED)
endif()
