# A preset cannot say "clang++-14 where it is called so, else clang++"; a toolchain file can.
find_program(CMAKE_CXX_COMPILER NAMES clang++-14 clang++ REQUIRED)
