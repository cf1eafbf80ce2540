# Read by cpack before it makes a package. Modules have no shared-object name, as nobody links them, and need no line in "shlibs"; cpack warns
# of each.
set(CMAKE_SUPPRESS_DEVELOPER_WARNINGS ON)
