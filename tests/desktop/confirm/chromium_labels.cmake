# Read by CTest once the cases of the programs are known: scripts/run-tests leaves out what carries this label.
foreach(CASE IN LISTS desktop_probe_chromium_test_TESTS)
    set_tests_properties("${CASE}" PROPERTIES LABELS "desktop;chromium")
endforeach()
