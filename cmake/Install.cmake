# Installs the public headers, the libraries, ddhost and a CMake package configuration so
# that a host project can find_package(dolbydigital).
include(CMakePackageConfigHelpers)

install(DIRECTORY lib/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
foreach(component basalt tidemark proofbench moduledepot)
  install(DIRECTORY host/${component}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endforeach()
install(DIRECTORY engine/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(TARGETS basalt tidemark proofbench moduledepot dolbydigital
        EXPORT dolbydigitalTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET ddpi_engine)
  install(TARGETS ddpi_engine LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
if(TARGET ddhost)
  install(TARGETS ddhost ddhost_app
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

install(EXPORT dolbydigitalTargets NAMESPACE dolbydigital::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/dolbydigital)
configure_package_config_file(cmake/dolbydigitalConfig.cmake.in
  ${CMAKE_BINARY_DIR}/dolbydigitalConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/dolbydigital)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/dolbydigitalConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/dolbydigitalConfig.cmake
              ${CMAKE_BINARY_DIR}/dolbydigitalConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/dolbydigital)
