# Installs the library, its public headers, the CMake package and kalvora.pc.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The headers that `header` (a path from the top of the repository) includes, itself first.
function(kalvora_reached_headers header result)
  set(reached "")
  set(waiting ${header})
  while(waiting)
    list(POP_FRONT waiting current)
    if(current IN_LIST reached)
      continue()
    endif()
    list(APPEND reached ${current})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${current})
    file(STRINGS ${PROJECT_SOURCE_DIR}/${current} lines REGEX "^#include \"kalvora/")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE "^#include \"(.*)\".*" "\\1" included ${line})
      list(APPEND waiting ${included})
    endforeach()
  endwhile()
  set(${result} ${reached} PARENT_SCOPE)
endfunction()

kalvora_reached_headers(kalvora/kalvora.h headers)
foreach(header IN LISTS headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()

install(TARGETS Kalvora EXPORT KalvoraTargets)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/Kalvora)
install(EXPORT KalvoraTargets NAMESPACE Kalvora:: DESTINATION ${package})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KalvoraConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/KalvoraConfig.cmake INSTALL_DESTINATION ${package})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KalvoraConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KalvoraConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/KalvoraConfigVersion.cmake DESTINATION ${package})

# kalvora.pc finds the tree that it stands in, so that the tree can be moved.
set(pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH KALVORA_PC_TO_PREFIX /prefix/${pkgconfig} /prefix)
if(KALVORA_WITH_KMS)
  set(KALVORA_PC_DRM ", libdrm")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/kalvora.pc.in ${CMAKE_CURRENT_BINARY_DIR}/kalvora.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kalvora.pc DESTINATION ${pkgconfig})

# Installs the kit Kalvora${name}: find_package(Kalvora COMPONENTS ${name}) gives Kalvora::${name}, and
# pkg-config has it under its name in lower case.
function(kalvora_install_kit name description requires)
  install(TARGETS Kalvora${name} EXPORT Kalvora${name}Targets)
  install(EXPORT Kalvora${name}Targets NAMESPACE Kalvora:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kalvora)
  string(TOLOWER ${name} lower)
  set(pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH KALVORA_PC_TO_PREFIX /prefix/${pkgconfig} /prefix)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/kalvora-kit.pc.in ${PROJECT_BINARY_DIR}/kalvora-${lower}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/kalvora-${lower}.pc DESTINATION ${pkgconfig})
endfunction()
