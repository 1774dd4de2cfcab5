# What every target of ours is compiled with: language, warnings, visibility.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")

add_library(td_options INTERFACE)
target_include_directories(td_options INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(td_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(TD_WERROR)
    target_compile_options(td_options INTERFACE -Werror)
endif()
# Foreign sources too: what people run must not tell, or depend on, where it was built.
add_compile_options("$<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>")
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
    # Every 64-bit PC since about 2009; wider code is chosen at run time.
    target_compile_options(td_options INTERFACE -march=x86-64-v2)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Unique symbols would keep the plug-in mapped after the host unloads it.
    target_compile_options(td_options INTERFACE -fno-gnu-unique)
    if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # Optimised string concatenation sets it off without cause (GCC bug 105651).
        target_compile_options(td_options INTERFACE -Wno-restrict)
    endif()
endif()
if(TD_SANITIZE)
    target_compile_options(td_options INTERFACE
        -fsanitize=${TD_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(td_options INTERFACE -fsanitize=${TD_SANITIZE})
endif()
