# The Debian package (make package): dependencies from the binaries, no maintainer scripts.
# cpack's install step would otherwise build every target (tests and benchmarks) first; the
# package needs only what its install rules name, which `make package` builds.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME telvo)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR Brackwell)
set(CPACK_PACKAGE_CONTACT "Telvo support <support@telvo.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "utility for the Vorix line of video scalers")
# CPack puts the summary on the first line itself; this is the long description only.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"The Telvo Utility drives a video scaler of the Vorix line over a serial
link: it finds the device on whichever port and speed it sits, reads and
changes its settings, saves and restores them, and loads firmware. It
also holds an infrared code tool, a gamma table tool and a support window.
.
The package also holds vorix-sim, an emulator of the device on a
pseudo-terminal. Serial ports need membership of the dialout group; see
/usr/share/doc/telvo/README.Debian.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# A Debian revision: the package is not native, so its changelog is changelog.Debian.gz.
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://www.telvo.example/)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_SOURCE_IGNORE_FILES "/build.*/;/\\\\.git/;/demo/")

include(CPack)
