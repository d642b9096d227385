# Finds gumbo, the HTML5 parser the library's HTML layer stands on: the imported target Gumbo::Gumbo,
# Gumbo_FOUND and Gumbo_VERSION (from pkg-config; gumbo's headers do not carry it).
include(${CMAKE_CURRENT_LIST_DIR}/PostwrightFindCLibrary.cmake)
pw_find_c_library(Gumbo HEADER gumbo.h LIBRARY gumbo PKG_CONFIG gumbo)
