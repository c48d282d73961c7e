# How every target of the project is compiled: language, warnings, sanitizers, hardening, where programs go.

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1 -DNDEBUG")

find_program(QUORVEL_CCACHE ccache)
if(QUORVEL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${QUORVEL_CCACHE}")
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wold-style-cast -Wnon-virtual-dtor
                    -Woverloaded-virtual -fno-omit-frame-pointer)
# A constructor's parameter may carry the name of the field that it fills.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wshadow=local)
else()
    # The library of g++ 12 deprecates what its own stable_sort calls.
    add_compile_options(-Wshadow -Wno-deprecated-declarations)
endif()
if(QUORVEL_WERROR)
    add_compile_options(-Werror)
endif()

add_compile_options(-D_GLIBCXX_ASSERTIONS)
if(QUORVEL_SANITIZE)
    add_compile_options(-fsanitize=${QUORVEL_SANITIZE} -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${QUORVEL_SANITIZE})
else()
    # tests/packaging/check-hardening looks whether it holds.
    add_compile_options(-fstack-protector-strong -fstack-clash-protection -fcf-protection)
    add_link_options(-Wl,-z,relro,-z,now -Wl,--as-needed)
    # The C library's checks need an optimising compiler.
    if(CMAKE_BUILD_TYPE STREQUAL "Release")
        add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
    endif()
endif()
