# Compile locale/<name>.po into ${build}/locale/<name>/LC_MESSAGES/toolkit.mo,
# the layout the daemon's locale generator searches (WSGATED_LOCALE_DIR).
find_program(MSGFMT msgfmt REQUIRED)
file(GLOB catalogue_sources ${PROJECT_SOURCE_DIR}/locale/*.po)
set(catalogue_outputs "")
foreach(po ${catalogue_sources})
  get_filename_component(name ${po} NAME_WE)
  set(dir ${PROJECT_BINARY_DIR}/locale/${name}/LC_MESSAGES)
  add_custom_command(
    OUTPUT ${dir}/toolkit.mo
    COMMAND ${CMAKE_COMMAND} -E make_directory ${dir}
    COMMAND ${MSGFMT} --check -o ${dir}/toolkit.mo ${po}
    DEPENDS ${po}
    COMMENT "Compiling catalogue ${name}")
  list(APPEND catalogue_outputs ${dir}/toolkit.mo)
  install(FILES ${dir}/toolkit.mo DESTINATION share/locale/${name}/LC_MESSAGES)
endforeach()
add_custom_target(wsgated_catalogues ALL DEPENDS ${catalogue_outputs})
