# What every target of this tree is compiled with, and nothing that an installed consumer inherits.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release)
endif()

# Results must not depend on whether the compiler fuses a multiplication and an addition.
add_compile_options(-ffp-contract=off)
# Nobody reads errno after a square root; without it one is a single instruction.
add_compile_options(-fno-math-errno)
# A unique symbol pins the library in memory; without them it can be unloaded and starts afresh.
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
# Calls between the library's own functions never go to another library's function of that name.
add_compile_options(-fno-semantic-interposition)

add_compile_options(-Wall -Wextra -Wshadow -Wconversion -Wno-sign-conversion -Wpedantic)
# A text cut to the size of its buffer is meant, and only the optimiser sees where it can happen.
add_compile_options(-Wno-format-truncation)
if(MORVEL_WERROR)
  add_compile_options(-Werror)
endif()

if(MORVEL_SANITIZE)
  add_compile_options(-fsanitize=${MORVEL_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer -D_GLIBCXX_ASSERTIONS)
  add_link_options(-fsanitize=${MORVEL_SANITIZE})
endif()

find_package(Eigen3 3.4 REQUIRED NO_MODULE)
# Formats of files: JSON, OBJ, glTF.
find_package(nlohmann_json 3.11 REQUIRED)
find_package(tinyobjloader REQUIRED)
find_package(TinyGLTF REQUIRED)
