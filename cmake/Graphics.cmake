# What the editor's window and drawing stand on. pugl, NanoVG and glad come as sources or as a
# generator, so they are built here: static, hidden, without our warnings.
set(PUGL_SOURCE_DIR "/usr/share/dpf/dgl/src/pugl-upstream" CACHE PATH
    "Folder that holds include/pugl and src: the packaged copy, or a checkout of current pugl")
set(NANOVG_SOURCE_DIR "/usr/share/dpf/dgl/src/nanovg" CACHE PATH "Folder that holds nanovg.c")
foreach(file IN ITEMS "${PUGL_SOURCE_DIR}/src/x11_gl.c" "${NANOVG_SOURCE_DIR}/nanovg.c")
    if(NOT EXISTS "${file}")
        message(FATAL_ERROR "No ${file}: install dpf-source, "
                            "or set PUGL_SOURCE_DIR and NANOVG_SOURCE_DIR")
    endif()
endforeach()

find_program(GLAD_COMMAND glad REQUIRED)
pkg_check_modules(x11 REQUIRED IMPORTED_TARGET x11)
pkg_check_modules(xext REQUIRED IMPORTED_TARGET xext)
pkg_check_modules(xcursor REQUIRED IMPORTED_TARGET xcursor)
pkg_check_modules(gl REQUIRED IMPORTED_TARGET gl)
pkg_check_modules(fontconfig REQUIRED IMPORTED_TARGET fontconfig)
pkg_check_modules(freetype REQUIRED IMPORTED_TARGET freetype2)

function(td_foreign_library name)
    add_library(${name} STATIC ${ARGN})
    set_target_properties(${name} PROPERTIES C_VISIBILITY_PRESET hidden)
    target_compile_options(${name} PRIVATE -w)
endfunction()

# OpenGL 2.1 entry points. Without --reproducible glad fetches its registry from the network, and
# without an empty list it emits every extension.
set(glad_dir "${PROJECT_BINARY_DIR}/glad")
add_custom_command(
    OUTPUT "${glad_dir}/src/gl.c" "${glad_dir}/include/glad/gl.h"
           "${glad_dir}/include/KHR/khrplatform.h"
    COMMAND "${GLAD_COMMAND}" --quiet --reproducible --api gl:compatibility=2.1 "--extensions="
            --out-path "${glad_dir}" c
    COMMENT "Generating the OpenGL loader"
    VERBATIM)
file(MAKE_DIRECTORY "${glad_dir}/include")
td_foreign_library(td_glad "${glad_dir}/src/gl.c")
target_include_directories(td_glad SYSTEM PUBLIC "${glad_dir}/include")

# Each generation of pugl has its own names for the X extensions: HAVE_ in 2022, USE_ since. Not
# Xrandr: with it a parent window that is gone makes puglRealize read through a null pointer.
td_foreign_library(td_pugl
    "${PUGL_SOURCE_DIR}/src/common.c" "${PUGL_SOURCE_DIR}/src/internal.c"
    "${PUGL_SOURCE_DIR}/src/x11.c" "${PUGL_SOURCE_DIR}/src/x11_gl.c"
    "${PROJECT_SOURCE_DIR}/ui/PuglLocale.c")
target_include_directories(td_pugl SYSTEM PUBLIC "${PUGL_SOURCE_DIR}/include")
target_compile_definitions(td_pugl
    PUBLIC PUGL_API= PUGL_DISABLE_DEPRECATED PUGL_NO_INCLUDE_GL_H PUGL_NO_INCLUDE_GLU_H
    PRIVATE HAVE_XCURSOR=1 USE_XCURSOR=1 USE_XRANDR=0 USE_XSYNC=0
            XSetLocaleModifiers=tdLeaveLocaleModifiers) # see ui/PuglLocale.c
target_link_libraries(td_pugl PUBLIC PkgConfig::x11 PkgConfig::gl PRIVATE PkgConfig::xcursor)

td_foreign_library(td_nanovg
    "${PROJECT_SOURCE_DIR}/ui/nanovg/Context.c" "${PROJECT_SOURCE_DIR}/ui/nanovg/Gl2Backend.c")
target_include_directories(td_nanovg SYSTEM PUBLIC "${NANOVG_SOURCE_DIR}")
target_link_libraries(td_nanovg PUBLIC td_glad m)
