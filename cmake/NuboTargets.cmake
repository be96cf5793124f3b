# The kinds of target that this project is made of. Each hides its symbols, finds its neighbours by paths
# relative to itself, and lies in the build tree where it lies in an installed one.
include(GNUInstallDirs)

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

set(NUBO_BIN_DIR ${PROJECT_BINARY_DIR}/bin)
set(NUBO_LIB_DIR ${PROJECT_BINARY_DIR}/lib)
# Where the same tree stands below the installation prefix. A folder of its own, since the program looks for modules and
# plug-ins beside itself; not in one per architecture, since other programs have no business in it.
set(NUBO_INSTALL_TREE lib/nubo)
set(NUBO_INSTALL_BIN ${NUBO_INSTALL_TREE}/bin)
# The package of plug-ins, unless a folder says otherwise.
set(NUBO_COMPONENT nubo)

find_program(NUBO_CCACHE ccache)
if(NUBO_CCACHE)
  # Results are found again from a checkout in another folder too.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
    ${NUBO_CCACHE})
endif()

add_library(nubo_options INTERFACE)
target_compile_options(nubo_options INTERFACE -Wall -Wextra -Wpedantic)
target_include_directories(nubo_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_definitions(nubo_options INTERFACE QT_NO_CAST_TO_ASCII BOOST_BIND_GLOBAL_PLACEHOLDERS)
if(NUBO_SANITIZE)
  target_compile_options(nubo_options INTERFACE -fsanitize=${NUBO_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  target_link_options(nubo_options INTERFACE -fsanitize=${NUBO_SANITIZE})
  set(NUBO_SANITIZERS nubo_sanitizers)
endif()

# For what is loaded and unloaded while the program runs: an inline variable of the standard library's would keep it in
# memory for good, and loaded again it would not register anything.
add_library(nubo_unloadable INTERFACE)
target_compile_options(nubo_unloadable INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)

# A shared library with the neighbours' headers, in `build_folder` and, installed, in `install_folder`.
function(nubo_shared_library name build_folder install_folder)
  add_library(${name} SHARED ${ARGN})
  add_library(nubo::${name} ALIAS ${name})
  string(TOUPPER ${name} upper)
  target_compile_definitions(${name} PRIVATE NUBO_BUILD_${upper})
  target_compile_features(${name} PUBLIC cxx_std_17)
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:include/nubo>)
  target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:nubo_options>)
  set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${build_folder})
  install(TARGETS ${name} EXPORT nubo LIBRARY DESTINATION ${install_folder} COMPONENT nubo)
endfunction()

# nubo_library(NAME sources...): a host library, exported through NUBO_<NAME>_EXPORT. Its file bears the version, so that
# what was built against the interfaces of another one is not loaded, instead of calling what is not there.
function(nubo_library name)
  nubo_shared_library(${name} ${NUBO_LIB_DIR} ${NUBO_INSTALL_TREE}/lib ${ARGN})
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN"
    OUTPUT_NAME ${name}-${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
endfunction()

# nubo_module(NAME sources...): a library that the host loads at start, and that plug-ins link against.
function(nubo_module name)
  nubo_shared_library(${name} ${NUBO_BIN_DIR}/modules ${NUBO_INSTALL_BIN}/modules ${ARGN})
  target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:nubo_unloadable>)
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN/../../lib")
endfunction()

# nubo_plugin(NAME KIND sources...): a plug-in in bin/plugins/KIND/.
function(nubo_plugin name kind)
  add_library(${name} MODULE ${ARGN})
  target_link_libraries(${name} PRIVATE nubo_options nubo_unloadable)
  set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${NUBO_BIN_DIR}/plugins/${kind}
    INSTALL_RPATH "$ORIGIN/../../modules:$ORIGIN/../../../lib")
  install(TARGETS ${name} LIBRARY DESTINATION ${NUBO_INSTALL_BIN}/plugins/${kind} COMPONENT ${NUBO_COMPONENT})
endfunction()

# nubo_executable(NAME sources...): a program beside the modules and plug-ins.
function(nubo_executable name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE nubo_options ${NUBO_SANITIZERS})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${NUBO_BIN_DIR}
    INSTALL_RPATH "$ORIGIN/../lib:$ORIGIN/modules")
  install(TARGETS ${name} RUNTIME DESTINATION ${NUBO_INSTALL_BIN} COMPONENT nubo)
endfunction()

# All readers.
add_custom_target(readers)

# nubo_reader(NAME sources...): a reader of model files as the target reader_NAME, described by NAME.json.in beside it.
function(nubo_reader name)
  nubo_plugin(reader_${name} readers ${ARGN})
  add_dependencies(readers reader_${name})
  set(description ${NUBO_BIN_DIR}/plugins/readers/${name}.json)
  configure_file(${name}.json.in ${description} @ONLY)
  install(FILES ${description} DESTINATION ${NUBO_INSTALL_BIN}/plugins/readers COMPONENT ${NUBO_COMPONENT})
endfunction()
