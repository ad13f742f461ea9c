# ICU::uc and ICU::i18n as static libraries. The toolkit brings the shared ones along; ours must not replace their functions.
foreach(PART uc i18n data)
    find_library(ICU_STATIC_${PART} libicu${PART}.a REQUIRED)
endforeach()
find_path(ICU_STATIC_INCLUDE unicode/uversion.h REQUIRED)

foreach(PART uc i18n)
    add_library(ICU::${PART} STATIC IMPORTED GLOBAL)
    set_target_properties(ICU::${PART} PROPERTIES
        IMPORTED_LOCATION ${ICU_STATIC_${PART}}
        INTERFACE_INCLUDE_DIRECTORIES ${ICU_STATIC_INCLUDE})
endforeach()
set_target_properties(ICU::uc PROPERTIES INTERFACE_LINK_LIBRARIES "${ICU_STATIC_data};${CMAKE_DL_LIBS};m")
set_target_properties(ICU::i18n PROPERTIES INTERFACE_LINK_LIBRARIES ICU::uc)
add_link_options(LINKER:--exclude-libs,libicuuc.a:libicui18n.a:libicudata.a)
