# Install rules: the shared library and the host adapters' beside it, the public headers
# (the library's and the host adapters'), a CMake package (find_package(FileFinder2
# CONFIG), whose FileFinder2::file_finder2 brings FileFinder2::file_finder2_host along)
# and a pkg-config file that names both libraries.
include(CMakePackageConfigHelpers)

install(TARGETS file_finder2 file_finder2_host EXPORT FileFinder2Targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/file_finder2/public/
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/file_finder2 FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/host/include/
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(EXPORT FileFinder2Targets NAMESPACE FileFinder2::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/FileFinder2)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/FileFinder2Config.cmake.in
        ${PROJECT_BINARY_DIR}/FileFinder2Config.cmake
        INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/FileFinder2)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/FileFinder2ConfigVersion.cmake
        COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/FileFinder2Config.cmake
              ${PROJECT_BINARY_DIR}/FileFinder2ConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/FileFinder2)

# Relocatable: the prefix is found from where the .pc file stands.
file(RELATIVE_PATH FF_PC_RELATIVE_PREFIX
     "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file(${PROJECT_SOURCE_DIR}/cmake/file_finder2.pc.in
               ${PROJECT_BINARY_DIR}/file_finder2.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/file_finder2.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
