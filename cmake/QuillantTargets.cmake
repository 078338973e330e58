# How Quillant's targets are made: one library a folder, one test program a library.

# What all our sources are compiled with. The tools of the build take this alone: no sanitizer slows them.
add_library(quillant_warnings INTERFACE)
target_compile_options(quillant_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor -Werror
  -fno-math-errno)
# A default member initializer is enough: designated initializers may name only what differs.
target_compile_options(quillant_warnings INTERFACE -Wno-missing-field-initializers)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  # g++ 12 sees overlapping copies in every optimised `"text" + std::string` (its bug 105329), and where a
  # coroutine's allocation is inlined and its release is not, two allocators.
  target_compile_options(quillant_warnings INTERFACE -Wno-restrict -Wno-mismatched-new-delete)
endif()

add_library(quillant_options INTERFACE)
target_link_libraries(quillant_options INTERFACE quillant_warnings)
# A fault in what reads foreign files ends the program, before it can become anything worse.
target_compile_options(quillant_options INTERFACE -fPIE -fstack-protector-strong -fstack-clash-protection)
target_compile_definitions(quillant_options INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
target_link_options(quillant_options INTERFACE
  $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie> -Wl,-z,relro,-z,now)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
  target_compile_options(quillant_options INTERFACE -fcf-protection)
endif()
if(QUILLANT_SANITIZE)
  target_compile_options(quillant_options INTERFACE
    -fsanitize=${QUILLANT_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(quillant_options INTERFACE -fsanitize=${QUILLANT_SANITIZE})
  if(QUILLANT_SANITIZE MATCHES thread AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Asio fences what its mutexes order already; the sanitizer knows the mutexes. And behind the sanitizer's calls
    # g++ no longer sees what an optional was tested for.
    target_compile_options(quillant_options INTERFACE -Wno-tsan -Wno-maybe-uninitialized)
  endif()
endif()
if(NOT QUILLANT_SANITIZE) # the sanitizers watch the functions that this would replace
  target_compile_options(quillant_options INTERFACE "$<$<CONFIG:Release>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
endif()
if(QUILLANT_FUZZ)
  target_compile_options(quillant_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# quillant_library(<name> [FOLDERS <folders>...] [PUBLIC <targets>...] [PRIVATE <targets>...])
# A library of every source in the current folder and in its inner FOLDERS; other sub-folders are libraries of their own.
function(quillant_library name)
  cmake_parse_arguments(ARG "" "" "FOLDERS;PUBLIC;PRIVATE" ${ARGN})
  set(patterns)
  foreach(folder . ${ARG_FOLDERS})
    list(APPEND patterns ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.h)
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS ${patterns})
  if(NOT sources) # a folder whose first source is still to come
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${CMAKE_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${ARG_PUBLIC})
    return()
  endif()
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE quillant_options ${ARG_PRIVATE})
endfunction()

# quillant_sanitizer_defaults(<program>): tells the sanitizers what they cannot know of a program's libraries.
function(quillant_sanitizer_defaults program)
  if(QUILLANT_SANITIZE MATCHES thread)
    target_sources(${program} PRIVATE ${CMAKE_SOURCE_DIR}/Tests/Support/Sanitizers/ThreadSanitizerDefaults.cpp)
  endif()
  if(QUILLANT_SANITIZE MATCHES address)
    target_sources(${program} PRIVATE ${CMAKE_SOURCE_DIR}/Tests/Support/Sanitizers/LeakSanitizerDefaults.cpp)
  endif()
endfunction()

# quillant_uses_qt(<sources>...): for sources that include Qt's headers. Qt's libraries address their own data directly,
# so that nobody may take a copy of it into the program: -fPIC counts in the place of the -fPIE of all.
function(quillant_uses_qt)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -fPIC)
endfunction()

# quillant_test(<folder> LIBS <targets>... [TIMEOUT <seconds>] [SERIAL] [THREADS])
# The test program of one folder under Tests/. SERIAL keeps it from running beside another test; THREADS says that what
# it tests has threads, for the thread sanitizer.
function(quillant_test folder)
  cmake_parse_arguments(ARG "SERIAL;THREADS" "TIMEOUT" "LIBS" ${ARGN})
  string(REPLACE "/" "" name ${folder})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Tests/${folder}/*.cpp)
  add_executable(${name}Tests ${sources})
  target_link_libraries(${name}Tests PRIVATE ${ARG_LIBS} TestSupport quillant_options GTest::gmock GTest::gtest_main)
  quillant_sanitizer_defaults(${name}Tests)
  # g++ 12 takes the temporaries of designated initializers, of which tests are full, for uninitialised.
  target_compile_options(${name}Tests PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_test(NAME ${name} COMMAND ${name}Tests)
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  # What scripts/setup unpacked is found where the system has no sound server of its own.
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT}
    ENVIRONMENT_MODIFICATION PATH=path_list_append:${CMAKE_SOURCE_DIR}/build/sound-server)
  if(ARG_THREADS)
    set_tests_properties(${name} PROPERTIES LABELS threads)
    add_dependencies(threaded-tests ${name}Tests)
  endif()
  if(ARG_SERIAL)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL ON)
  endif()
endfunction()
