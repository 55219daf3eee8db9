message(STATUS "map ${MAP}")
