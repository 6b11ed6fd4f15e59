# QScintilla for Qt 6 ships neither a CMake package nor a pkg-config file: find the header
# and the library where Qt itself is installed and wrap them in QScintilla::QScintilla.
# Needs find_package(Qt6 COMPONENTS Widgets PrintSupport) first.

set(_qsci_header_hints)
set(_qsci_lib_hints)
if(QT6_INSTALL_PREFIX)
  list(APPEND _qsci_header_hints "${QT6_INSTALL_PREFIX}/${QT6_INSTALL_HEADERS}")
  list(APPEND _qsci_lib_hints "${QT6_INSTALL_PREFIX}/${QT6_INSTALL_LIBS}")
endif()

find_path(QScintilla_INCLUDE_DIR Qsci/qsciscintilla.h
  HINTS ${_qsci_header_hints}
  PATH_SUFFIXES qt6)
find_library(QScintilla_LIBRARY
  NAMES qscintilla2_qt6 libqscintilla2_qt6
  HINTS ${_qsci_lib_hints})

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(QScintilla
  REQUIRED_VARS QScintilla_LIBRARY QScintilla_INCLUDE_DIR)

if(QScintilla_FOUND AND NOT TARGET QScintilla::QScintilla)
  add_library(QScintilla::QScintilla UNKNOWN IMPORTED)
  set_target_properties(QScintilla::QScintilla PROPERTIES
    IMPORTED_LOCATION "${QScintilla_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${QScintilla_INCLUDE_DIR}"
    INTERFACE_COMPILE_DEFINITIONS QSCINTILLA_DLL
    INTERFACE_LINK_LIBRARIES "Qt6::Widgets;Qt6::PrintSupport")
endif()
mark_as_advanced(QScintilla_INCLUDE_DIR QScintilla_LIBRARY)
