# The install tree: libraries, the program, headers under include/tessor with the paths that they have here, schemas, and
# what find_package(Tessor) and pkg-config read.
include(CMakePackageConfigHelpers)

set(TESSOR_LIBRARIES tessor tessor-ffhost tessor-jobs)
foreach(library ${TESSOR_LIBRARIES})
    string(REPLACE "tessor-" "" name ${library})
    # the libraries lie side by side, wherever the tree is moved to
    set_target_properties(${library} PROPERTIES EXPORT_NAME ${name} INSTALL_RPATH "$ORIGIN")
endforeach()
file(RELATIVE_PATH LIBRARIES_FROM_PROGRAM ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(tessor-program PROPERTIES INSTALL_RPATH "$ORIGIN/${LIBRARIES_FROM_PROGRAM}")

install(TARGETS ${TESSOR_LIBRARIES} EXPORT TessorTargets)
install(TARGETS tessor-program)
install(DIRECTORY Fnd media Proc effects host ffhost jobs DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tessor
        FILES_MATCHING PATTERN "*.h")
file(GLOB SCHEMAS CONFIGURE_DEPENDS docs/*.schema.json)
install(FILES ${SCHEMAS} DESTINATION ${CMAKE_INSTALL_DATADIR}/tessor/schemas)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

# find_package
set(TESSOR_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/Tessor)
get_target_property(type tessor-jobs TYPE)
string(COMPARE EQUAL ${type} STATIC_LIBRARY TESSOR_JOBS_IS_STATIC)
configure_package_config_file(cmake/TessorConfig.cmake.in TessorConfig.cmake INSTALL_DESTINATION ${TESSOR_PACKAGE})
write_basic_package_version_file(TessorConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TessorConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/TessorConfigVersion.cmake
        DESTINATION ${TESSOR_PACKAGE})
install(EXPORT TessorTargets NAMESPACE Tessor:: DESTINATION ${TESSOR_PACKAGE})

# pkg-config
file(RELATIVE_PATH PREFIX_FROM_PKGCONFIG ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
function(tessor_pkgconfig NAME DESCRIPTION REQUIRES LIBS REQUIRES_PRIVATE)
    configure_file(cmake/tessor.pc.in ${NAME}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${NAME}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
tessor_pkgconfig(tessor "stream filters of a video tool" "libglog libavcodec libavutil"
                 "-lboost_thread -lboost_system -lboost_chrono -lboost_date_time" "")
tessor_pkgconfig(tessor-ffhost "a host of tessor on FFmpeg's libraries" "tessor" "" "libavformat libavfilter")
if(TESSOR_JOBS_IS_STATIC)
    tessor_pkgconfig(tessor-jobs "whole jobs on media files" "tessor-ffhost fmt libavformat" "" "")
else()
    tessor_pkgconfig(tessor-jobs "whole jobs on media files" "tessor-ffhost" "" "")
endif()
