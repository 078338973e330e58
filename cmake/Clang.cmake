# The newest clang of the system; packaging/apt-packages.txt names the ones that Quillant builds with.
find_program(QUILLANT_CLANGXX NAMES clang++-19 clang++-18 clang++-17 clang++-16 REQUIRED)
string(REPLACE clang++ clang QUILLANT_CLANG ${QUILLANT_CLANGXX})
set(CMAKE_C_COMPILER ${QUILLANT_CLANG})
set(CMAKE_CXX_COMPILER ${QUILLANT_CLANGXX})
