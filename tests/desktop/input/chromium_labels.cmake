# Read by CTest once the cases of the program are known: scripts/run-tests leaves out what carries this label.
foreach(CASE IN LISTS desktop_typing_chromium_test_TESTS desktop_clipboard_chromium_test_TESTS)
    set_tests_properties("${CASE}" PROPERTIES LABELS "desktop;chromium")
endforeach()
