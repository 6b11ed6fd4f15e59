# Cross-compiling for Windows with mingw-w64; the including file sets KX_MINGW_TRIPLE.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${KX_MINGW_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${KX_MINGW_TRIPLE}-g++)
set(CMAKE_RC_COMPILER ${KX_MINGW_TRIPLE}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${KX_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The DLL must load with nothing but system DLLs beside it.
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
# GCC 12 reports string appends as overlapping copies at -O3 (a known false -Wrestrict).
set(CMAKE_CXX_FLAGS_INIT "-Wno-restrict")
