# Finds libuuid, which makes the library's UUIDs: the imported target LibUUID::LibUUID and LibUUID_FOUND.
include(${CMAKE_CURRENT_LIST_DIR}/PostwrightFindCLibrary.cmake)
pw_find_c_library(LibUUID HEADER uuid/uuid.h LIBRARY uuid PKG_CONFIG uuid)
