# Read by CTest once the cases of the programs are known: scripts/run-tests leaves out what carries a label of an
# application that the system lacks.
foreach(CASE IN LISTS desktop_elements_chromium_test_TESTS)
    set_tests_properties("${CASE}" PROPERTIES LABELS "desktop;chromium")
endforeach()
foreach(CASE IN LISTS desktop_elements_writer_test_TESTS)
    set_tests_properties("${CASE}" PROPERTIES LABELS "desktop;writer")
endforeach()
