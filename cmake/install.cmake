# What `cmake --install` puts in place: the programs, the client libraries with their headers, what finds them, and the
# manual.
include(CMakePackageConfigHelpers)

# The client library for C++ as one archive, which needs nothing but C++20.
add_library(vorlix_client STATIC $<TARGET_OBJECTS:vorlix_host> $<TARGET_OBJECTS:vorlix_wire>
  $<TARGET_OBJECTS:vorlix_base> $<TARGET_OBJECTS:vorlix_hostif>)
set_target_properties(vorlix_client PROPERTIES OUTPUT_NAME vorlix++ EXPORT_NAME host LINKER_LANGUAGE CXX)
target_compile_features(vorlix_client INTERFACE cxx_std_20)
# Headers name each other from the root of the project.
set(HEADERS_DIR ${CMAKE_INSTALL_INCLUDEDIR}/vorlix)
target_include_directories(vorlix_client INTERFACE $<INSTALL_INTERFACE:${HEADERS_DIR}>)

install(TARGETS vorlix RUNTIME)
# No commands of users: hosts and the tool look for them here.
install(TARGETS vorlix.dll vorlix-preview RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR})
install(TARGETS vorlix_client EXPORT Vorlix ARCHIVE)
install(DIRECTORY host DESTINATION ${HEADERS_DIR} FILES_MATCHING PATTERN "*.h" PATTERN c EXCLUDE)
install(FILES hostif/layout.h hostif/math.h DESTINATION ${HEADERS_DIR}/hostif)
install(FILES dll/wire/decimal.h DESTINATION ${HEADERS_DIR}/dll/wire)

# The client library for C.
install(TARGETS vorlix_c EXPORT Vorlix LIBRARY)
install(FILES host/c/vorlix.h TYPE INCLUDE)

# The Python package, which looks for the C library from where it lies itself.
install(DIRECTORY python/vorlix DESTINATION ${CMAKE_INSTALL_LIBDIR}/python3/dist-packages
  PATTERN __pycache__ EXCLUDE)

# The CMake package.
set(PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Vorlix)
set(SERVER_PATH ${CMAKE_INSTALL_LIBEXECDIR}/vorlix.dll)
configure_package_config_file(cmake/VorlixConfig.cmake.in ${PROJECT_BINARY_DIR}/VorlixConfig.cmake
  INSTALL_DESTINATION ${PACKAGE_DIR} PATH_VARS SERVER_PATH NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VorlixConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT Vorlix NAMESPACE Vorlix:: DESTINATION ${PACKAGE_DIR} FILE VorlixTargets.cmake)
install(FILES ${PROJECT_BINARY_DIR}/VorlixConfig.cmake ${PROJECT_BINARY_DIR}/VorlixConfigVersion.cmake
  DESTINATION ${PACKAGE_DIR})

# pkg-config finds the prefix from where its file lies, so that any prefix does.
set(PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH PREFIX_FROM_PKGCONFIG /${PKGCONFIG_DIR} /)
foreach(LANGUAGE_PC IN ITEMS vorlix.pc vorlix++.pc)
  configure_file(cmake/${LANGUAGE_PC}.in ${PROJECT_BINARY_DIR}/${LANGUAGE_PC} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${LANGUAGE_PC} DESTINATION ${PKGCONFIG_DIR})
endforeach()

# The manual.
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.md" PATTERN man EXCLUDE)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR})
find_program(SCDOC scdoc)
if(SCDOC)
  foreach(PAGE vorlix.1 vorlix.dll.8)
    cmake_path(GET PAGE EXTENSION LAST_ONLY SECTION)
    string(SUBSTRING ${SECTION} 1 -1 SECTION)
    set(SOURCE ${PROJECT_SOURCE_DIR}/docs/man/${PAGE}.scd)
    add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/${PAGE} DEPENDS ${SOURCE}
      COMMAND ${SCDOC} <${SOURCE} >${PROJECT_BINARY_DIR}/${PAGE})
    list(APPEND PAGES ${PROJECT_BINARY_DIR}/${PAGE})
    install(FILES ${PROJECT_BINARY_DIR}/${PAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${SECTION})
  endforeach()
  add_custom_target(man ALL DEPENDS ${PAGES})
else()
  message(STATUS "scdoc is not there: no manual pages are built")
endif()

# A page of the manual for each command, and what shells complete.
set(GENERATED ${PROJECT_BINARY_DIR}/generated)
add_custom_command(OUTPUT ${GENERATED}/bash/vorlix DEPENDS vorlix ${PROJECT_SOURCE_DIR}/cmake/generate.cmake
  COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:vorlix> -DTO=${GENERATED} -P ${PROJECT_SOURCE_DIR}/cmake/generate.cmake)
add_custom_target(generated ALL DEPENDS ${GENERATED}/bash/vorlix)
install(DIRECTORY ${GENERATED}/man1 DESTINATION ${CMAKE_INSTALL_MANDIR})
install(DIRECTORY ${GENERATED}/bash/ DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(DIRECTORY ${GENERATED}/zsh/ DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(DIRECTORY ${GENERATED}/fish/ DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
