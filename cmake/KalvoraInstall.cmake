# Installs the library, its public headers, the CMake package and kalvora.pc, in three components: library,
# development, tools.
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
  install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder}
    COMPONENT development)
endforeach()

# Installs a library, and what find_package needs to know of it.
function(kalvora_install_library target export)
  install(TARGETS ${target} EXPORT ${export}
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
  install(EXPORT ${export} NAMESPACE Kalvora:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kalvora
    COMPONENT development)
endfunction()
kalvora_install_library(Kalvora KalvoraTargets)

# Installs a program, which finds the library beside it, and its manual page.
function(kalvora_install_program target)
  file(RELATIVE_PATH libraries /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
  install(TARGETS ${target} RUNTIME COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/man/${target}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endfunction()

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/Kalvora)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KalvoraConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/KalvoraConfig.cmake INSTALL_DESTINATION ${package})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KalvoraConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KalvoraConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/KalvoraConfigVersion.cmake DESTINATION ${package} COMPONENT development)

# kalvora.pc finds the tree that it stands in, so that the tree can be moved.
set(pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH KALVORA_PC_TO_PREFIX /prefix/${pkgconfig} /prefix)
if(KALVORA_WITH_KMS)
  set(KALVORA_PC_DRM ", libdrm")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/kalvora.pc.in ${CMAKE_CURRENT_BINARY_DIR}/kalvora.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kalvora.pc DESTINATION ${pkgconfig} COMPONENT development)

# Installs the kit Kalvora${name}: find_package(Kalvora COMPONENTS ${name}) gives Kalvora::${name}, and
# pkg-config has it under its name in lower case.
function(kalvora_install_kit name description requires)
  kalvora_install_library(Kalvora${name} Kalvora${name}Targets)
  string(TOLOWER ${name} lower)
  set(pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  file(RELATIVE_PATH KALVORA_PC_TO_PREFIX /prefix/${pkgconfig} /prefix)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/kalvora-kit.pc.in ${PROJECT_BINARY_DIR}/kalvora-${lower}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/kalvora-${lower}.pc DESTINATION ${pkgconfig} COMPONENT development)
endfunction()
