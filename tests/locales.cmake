# Builds the locales that tests use into the build tree; the system's own are neither used nor touched. Tests find them
# through LOCPATH = TEST_LOCALES.
set(TEST_LOCALES ${PROJECT_BINARY_DIR}/locales)

find_program(LOCALEDEF localedef REQUIRED)
if(NOT EXISTS /usr/share/i18n/charmaps)
  message(FATAL_ERROR "The sources of the locales are missing (Debian's package \"locales\").")
endif()

function(add_test_locale name source charmap)
  set(directory ${TEST_LOCALES}/${name})
  add_custom_command(
    OUTPUT ${directory}/LC_CTYPE
    COMMAND ${CMAKE_COMMAND} -E make_directory ${TEST_LOCALES}
    COMMAND ${LOCALEDEF} --quiet -i ${source} -f ${charmap} ${directory}
    COMMENT "locale ${name}"
    VERBATIM)
  set_property(TARGET test_locales APPEND PROPERTY SOURCES ${directory}/LC_CTYPE)
endfunction()

add_custom_target(test_locales ALL)
add_test_locale(de_DE       de_DE      ISO-8859-1)
add_test_locale(de_DE@euro  de_DE@euro ISO-8859-15)
add_test_locale(de_DE.UTF-8 de_DE      UTF-8)
add_test_locale(en_US       en_US      ISO-8859-1)
add_test_locale(fr_FR       fr_FR      ISO-8859-1)
add_test_locale(fr_FR.UTF-8 fr_FR      UTF-8)
add_test_locale(tr_TR       tr_TR      ISO-8859-9)
