# For macOS 13 on Apple silicon, from Linux: the compiler of script/cross-macos with the system
# headers that Apple publishes, and with declarations of this project for the frameworks.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 22)
set(CMAKE_SYSTEM_PROCESSOR arm64)
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_ARCHITECTURES "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "")

set(CMAKE_CXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/compiler)
set(CMAKE_OBJCXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/compiler)
find_program(CMAKE_AR NAMES llvm-ar-14 llvm-ar REQUIRED)
find_program(CMAKE_RANLIB NAMES llvm-ranlib-14 llvm-ranlib REQUIRED)
# Not every release of Debian has this one among the commands without a version.
file(GLOB llvm_folders /usr/lib/llvm-*/bin)
find_program(CMAKE_INSTALL_NAME_TOOL NAMES llvm-install-name-tool-14 llvm-install-name-tool PATHS ${llvm_folders} REQUIRED)

# Undefined behaviour is looked for by the builds that run here; traps would only be more imports.
# The compiler leaves out which release of the system has what of the C++ library; that is wanted
# back, so that nothing is used that 13.0 lacks.
set(flags "-O1 -fno-sanitize=undefined -U_LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS -F${CMAKE_CURRENT_LIST_DIR}/Frameworks")
set(CMAKE_CXX_FLAGS_INIT "${flags}")
# The compiler says itself, too, that it reads Objective-C++.
set(CMAKE_OBJCXX_FLAGS_INIT "${flags} -Wno-unused-command-line-argument")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-F${CMAKE_CURRENT_LIST_DIR}/Frameworks -L${CMAKE_CURRENT_LIST_DIR}/lib")

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/tools/run-here)

# Headers come from the folder that script/cross-macos makes and from those of Qt, never from the whole
# of /usr/include. Libraries are names alone.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE NEVER)
set(GTest_DIR ${CMAKE_CURRENT_LIST_DIR}/packages)
set(fmt_DIR ${CMAKE_CURRENT_LIST_DIR}/packages)
set(simdjson_DIR ${CMAKE_CURRENT_LIST_DIR}/packages)
set(Qt6_DIR ${CMAKE_CURRENT_LIST_DIR}/packages)
