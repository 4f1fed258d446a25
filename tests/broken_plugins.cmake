# dmu-host check against the good plugin, and against those of broken_plugin.cpp: one library and one test a fault.
set(undecidable)
if(CMAKE_CXX_FLAGS MATCHES -fsanitize)
  set(undecidable close.frees-the-handle memory.given-back)  # the sanitizers' allocators do not tell how much is in use
endif()

add_test(NAME check.good COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_test.sh $<TARGET_FILE:dmu-host> good
  $<TARGET_FILE:dmu-veltrane-plugin> ${undecidable})
add_test(NAME check.faults COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_test.sh $<TARGET_FILE:dmu-host> faults
  ${CMAKE_CURRENT_SOURCE_DIR}/broken_plugin.cpp)

set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS broken_plugin.cpp)
add_library(broken_plugin OBJECT broken_plugin.cpp)
target_link_libraries(broken_plugin PRIVATE warnings)
target_compile_definitions(broken_plugin PRIVATE DMU_PLUGIN_PATH="$<TARGET_FILE:dmu-veltrane-plugin>")
set_target_properties(broken_plugin PROPERTIES CXX_VISIBILITY_PRESET default)

# FAULT(name, "rule", "what the rule says")
file(STRINGS broken_plugin.cpp faults REGEX "^FAULT\\(")
foreach(fault IN LISTS faults)
  string(REGEX MATCH "^FAULT\\(([A-Za-z]+), \"([^\"]*)\", \"(.*)\"\\)" matched "${fault}")
  set(name ${CMAKE_MATCH_1})
  set(rule ${CMAKE_MATCH_2})
  string(REPLACE "\\\"" "\"" says "${CMAKE_MATCH_3}")
  if(rule IN_LIST undecidable)
    continue()
  endif()
  add_library(broken-${name} SHARED $<TARGET_OBJECTS:broken_plugin>)
  set_target_properties(broken-${name} PROPERTIES
    PREFIX "" OUTPUT_NAME ${name} LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/broken)
  target_link_options(broken-${name} PRIVATE LINKER:--defsym=chosenFault=${name})
  target_link_libraries(broken-${name} PRIVATE vmkmgmt)
  add_test(NAME check.${rule}.${name} COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_test.sh $<TARGET_FILE:dmu-host>
    fault $<TARGET_FILE:broken-${name}> ${rule} "${says}")
endforeach()
