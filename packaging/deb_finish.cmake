# Run by CPack on what it has installed, before the package is closed: the rules of Debian beyond
# those of other systems.
set(usr ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr)

# What is played lies apart.
file(MAKE_DIRECTORY ${usr}/games)
file(RENAME ${usr}/bin/corvane ${usr}/games/corvane)
file(RENAME ${usr}/bin/Corvane ${usr}/games/Corvane)

file(GLOB tools ${usr}/bin/*)
execute_process(COMMAND strip --strip-unneeded -R .comment -R .note ${usr}/games/Corvane ${tools}
    COMMAND_ERROR_IS_FATAL ANY)

file(MAKE_DIRECTORY ${usr}/share/lintian/overrides)
set(readable OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ) # whatever those of the sources are
configure_file(${CPACK_CORVANE_DEBIAN}/lintian-overrides ${usr}/share/lintian/overrides/corvane
    COPYONLY FILE_PERMISSIONS ${readable})

set(documents ${usr}/share/doc/corvane)
file(RENAME ${documents}/CHANGELOG.md ${documents}/changelog)
configure_file(${CPACK_CORVANE_DEBIAN}/changelog ${documents}/changelog.Debian COPYONLY
    FILE_PERMISSIONS ${readable})
file(GLOB pages ${usr}/share/man/man?/*)
execute_process(COMMAND gzip -9n ${pages} ${documents}/changelog ${documents}/changelog.Debian
    COMMAND_ERROR_IS_FATAL ANY)
