# How every target of the project is compiled: language, warnings, sanitizers, hardening, where programs go.

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_OBJCXX_STANDARD 23)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
option(QUORVEL_LIBCXX "Build with libc++ (clang only)" OFF)
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1 -DNDEBUG")

find_program(QUORVEL_CCACHE ccache)
if(QUORVEL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${QUORVEL_CCACHE}")
    set(CMAKE_OBJCXX_COMPILER_LAUNCHER "${QUORVEL_CCACHE}")
endif()

if(QUORVEL_LIBCXX)
    add_compile_options(-stdlib=libc++)
    add_link_options(-stdlib=libc++)
endif()
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wold-style-cast -Wnon-virtual-dtor
                    -Woverloaded-virtual -fno-omit-frame-pointer)
# A constructor's parameter may carry the name of the field that it fills.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wshadow=local>)
else()
    # The library of g++ 12 deprecates what its own stable_sort calls.
    add_compile_options(-Wshadow -Wno-deprecated-declarations)
endif()
if(QUORVEL_WERROR)
    add_compile_options(-Werror)
endif()

# The checks of the standard library: libstdc++ and libc++ call them by their own names.
add_compile_options(-D_GLIBCXX_ASSERTIONS -D_LIBCPP_HARDENING_MODE=_LIBCPP_HARDENING_MODE_FAST)
if(QUORVEL_SANITIZE)
    add_compile_options(-fsanitize=${QUORVEL_SANITIZE} -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${QUORVEL_SANITIZE})
else()
    # tests/packaging/check-hardening looks whether it holds.
    add_compile_options(-fstack-protector-strong)
    if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
        add_compile_options(-fstack-clash-protection -fcf-protection)
        add_link_options(-Wl,-z,relro,-z,now -Wl,--as-needed)
    endif()
    # The C library's checks need an optimising compiler.
    if(CMAKE_BUILD_TYPE STREQUAL "Release")
        # Two builds of one source are the same, wherever it lies.
        add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.)
        add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
    endif()
endif()
