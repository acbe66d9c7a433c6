# Chooses clang++-14 if there is one, else clang++. A preset cannot make this choice.
find_program(CMAKE_CXX_COMPILER NAMES clang++-14 clang++ REQUIRED)
