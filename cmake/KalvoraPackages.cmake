# Debian packages by cpack: libkalvora, libkalvora-dev and kalvora-tools. tools/package builds them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Kalvora maintainers <maintainers@kalvora.invalid>")
set(CPACK_COMPONENTS_ALL library development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# dpkg-shlibdeps reads off what each package needs, and finds our own libraries in the build.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/kalvora ${PROJECT_BINARY_DIR}/kits/typeset)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)  # and has ldconfig run

set(abi ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libkalvora${abi})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "2D vector graphics for embedded Linux
 Paths, strokes, gradients, pixmaps and text, drawn by the processor with exact anti-aliasing: the same pixels on
 every machine, on framebuffers, mode-setting displays and in memory.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkalvora-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# What kalvora.pc and kalvora-typeset.pc name.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libkalvora${abi} (= ${PROJECT_VERSION}), libfreetype-dev")
if(KALVORA_WITH_KMS)
  string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ", libdrm-dev")
endif()
if(TARGET KalvoraTypeset)
  string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ", libharfbuzz-dev, libfribidi-dev")
endif()
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "headers of libkalvora, and what CMake and pkg-config need
 For programs that draw with libKalvora or set text with libKalvoraTypeset.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kalvora-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libkalvora${abi} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "programs that draw with libkalvora
 kalvora-svg, kalvora-text, kalvora-gallery, kalvora-dashboard, kalvora-viewer and kalvora-info.")
include(CPack)
