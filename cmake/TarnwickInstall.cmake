include(GNUInstallDirs)

# tarnwick_install_file(SOURCE DESTINATION COMPONENT)
# Installs the file that is made of SOURCE, NAME.in, as configure_file does. It is written when it is installed, as
# only then it is certain where the programs go (cmake --install may be given another prefix than the build knew), and
# to where it is installed, as two installations may go on at once.
function(tarnwick_install_file source destination component)
  get_filename_component(name ${source} NAME_WLE)
  install(CODE "
    set(TARNWICK_SERVER \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/tarnwick-server\")
    set(PROJECT_VERSION \"${PROJECT_VERSION}\")
    set(CMAKE_INSTALL_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
    set(CMAKE_INSTALL_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
    set(written \"\${CMAKE_INSTALL_PREFIX}/${destination}/${name}\")
    message(STATUS \"Installing: \$ENV{DESTDIR}\${written}\")
    configure_file(\"${CMAKE_CURRENT_SOURCE_DIR}/${source}\" \"\$ENV{DESTDIR}\${written}\" @ONLY
                   FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${written}\")"
    COMPONENT ${component})
endfunction()
