# A pair of Debian packages by CPack: the library, and what building against it needs.
# scripts/check_packages.sh builds and checks them; docs/install.md tells of both.
find_program(VESK_DPKG dpkg)
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux" OR NOT VESK_DPKG)
    return()
endif()

set(vesk_runtime_package libvesk${VESK_SOVERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vesk)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The vesk authors <vesk@vesk.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "triangle-mesh library whose results are fixed to the bit")
set(vesk_about "vesk imports meshes from FBX files, stores them in its own mesh file,
derives normals and tangents, and answers rays, lines and texels.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${vesk_runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${vesk_about}")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvesk-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${vesk_runtime_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "${vesk_about}

Headers, the CMake package, the pkg-config file and the static library of
the writers for debugging.")

# Hosts that are packaged themselves learn from these which version they need. The symbols file
# comes from the built library: scripts/check_packages.sh writes it before it runs CPack.
set(vesk_packaging ${PROJECT_BINARY_DIR}/packaging)
file(WRITE ${vesk_packaging}/triggers "activate-noawait ldconfig\n")
file(WRITE ${vesk_packaging}/shlibs
    "libvesk ${VESK_SOVERSION} ${vesk_runtime_package} (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${vesk_packaging}/triggers ${vesk_packaging}/shlibs ${vesk_packaging}/symbols)

# Both packages carry their own copyright and changelog. The changelog's date is that of the last
# commit, so that the same commit makes the same package.
execute_process(COMMAND git -C ${PROJECT_SOURCE_DIR} log -1 --format=%cD
    OUTPUT_VARIABLE vesk_date OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(NOT vesk_date)
    set(vesk_date "Thu, 01 Jan 2026 00:00:00 +0000")
endif()
file(READ ${PROJECT_SOURCE_DIR}/LICENSE vesk_license)
file(WRITE ${vesk_packaging}/copyright "vesk\n\n${vesk_license}")
file(WRITE ${vesk_packaging}/changelog
    "vesk (${PROJECT_VERSION}) unstable; urgency=medium\n\n"
    "  * See CHANGELOG.md of the source for what is in this version.\n\n"
    " -- ${CPACK_PACKAGE_CONTACT}  ${vesk_date}\n")
execute_process(COMMAND gzip -9nc ${vesk_packaging}/changelog
    OUTPUT_FILE ${vesk_packaging}/changelog.gz)

foreach(pair "runtime:${vesk_runtime_package}" "development:libvesk-dev")
    string(REGEX REPLACE ":.*" "" component ${pair})
    string(REGEX REPLACE ".*:" "" package ${pair})
    install(FILES ${vesk_packaging}/copyright ${vesk_packaging}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package}
        COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
