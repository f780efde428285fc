# A Debian package of everything `cmake --install` puts in place: `cpack -G DEB` in the build
# folder. Its dependencies are read from the installed programs and library by dpkg-shlibdeps,
# so they name the Debian runtime packages the build was linked against.
set(CPACK_PACKAGE_NAME qvtransfer)
set(CPACK_PACKAGE_VENDOR "QVTransfer developers")
set(CPACK_PACKAGE_CONTACT "QVTransfer developers <maintainers@qvtransfer.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "Upload wizard for network storage devices and attached disks")
set(CPACK_PACKAGE_DESCRIPTION
  "A library that hosts embed to upload files and folders to a network storage device or an \
attached disk, with a console uploader (qvtransfer-cli) and a device simulator for trying it.")
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# libsmbclient is opened when a share is first used, so no program names it for dpkg-shlibdeps
# to find: it is named here, and the found ones are added after it.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libsmbclient0 | libsmbclient")
# The keyring keeps a device's login between uploads; without it the uploader asks again. Qt's
# own translations let the sample host's file chooser and standard buttons speak the user's
# language.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnome-keyring, qt6-translations-l10n")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "samba")
include(CPack)
