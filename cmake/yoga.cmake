# Yoga, the flexbox engine, from the C++ sources shipped inside the react-native npm package.
# The one pin of its version is here. The tarball is fetched with `npm pack` (never
# `npm install`), checked against the registry's sha512 integrity, cached outside the build
# tree so that fresh checkouts and rebuilds do not download it again, and built as `yogacore`.

set(TALVERO_YOGA_PACKAGE "react-native@0.84.0")
set(TALVERO_YOGA_TARBALL "react-native-0.84.0.tgz")
# npm's dist.integrity "sha512-CcBfucLDHz8MAjQx9kFXasYtpcn8zP1YapUgGtAy0psRZTLShwF9yeh5+ErSgEK2gXV1CCSz7hqCZqx1eMyBLA==" in hex:
set(TALVERO_YOGA_SHA512
    "09c05fb9c2c31f3f0c023431f641576ac62da5c9fcccfd586a95201ad032d29b116532d287017dc9e879f84ad28042b68175750824b3ee1a8266ac7578cc812c")

if(DEFINED ENV{TALVERO_CACHE_DIR})
  set(talvero_cache "$ENV{TALVERO_CACHE_DIR}")
elseif(DEFINED ENV{XDG_CACHE_HOME})
  set(talvero_cache "$ENV{XDG_CACHE_HOME}/talvero")
else()
  set(talvero_cache "$ENV{HOME}/.cache/talvero")
endif()
set(yoga_tarball "${talvero_cache}/${TALVERO_YOGA_TARBALL}")

function(talvero_yoga_tarball_ok result)
  set(${result} FALSE PARENT_SCOPE)
  if(EXISTS "${yoga_tarball}")
    file(SHA512 "${yoga_tarball}" digest)
    if(digest STREQUAL TALVERO_YOGA_SHA512)
      set(${result} TRUE PARENT_SCOPE)
    endif()
  endif()
endfunction()

talvero_yoga_tarball_ok(yoga_cached)
if(NOT yoga_cached)
  find_program(NPM_PROGRAM npm REQUIRED)
  file(MAKE_DIRECTORY "${talvero_cache}")
  message(STATUS "Fetching Yoga: npm pack ${TALVERO_YOGA_PACKAGE}")
  execute_process(
    COMMAND "${NPM_PROGRAM}" pack "${TALVERO_YOGA_PACKAGE}" --silent --pack-destination "${talvero_cache}"
    RESULT_VARIABLE npm_result OUTPUT_QUIET ERROR_VARIABLE npm_error)
  talvero_yoga_tarball_ok(yoga_cached)
  if(NOT npm_result EQUAL 0 OR NOT yoga_cached)
    file(REMOVE "${yoga_tarball}")
    message(FATAL_ERROR "Could not fetch ${TALVERO_YOGA_PACKAGE} with a matching sha512: ${npm_error}")
  endif()
endif()

set(yoga_root "${CMAKE_BINARY_DIR}/_deps/react-native-0.84.0")
if(NOT EXISTS "${yoga_root}/package/ReactCommon/yoga/yoga/Yoga.h")
  file(ARCHIVE_EXTRACT INPUT "${yoga_tarball}" DESTINATION "${yoga_root}"
       PATTERNS package/ReactCommon/yoga/yoga)
endif()
set(yoga_source "${yoga_root}/package/ReactCommon/yoga")

file(GLOB_RECURSE yoga_sources "${yoga_source}/yoga/*.cpp")
add_library(yogacore STATIC ${yoga_sources})
target_include_directories(yogacore SYSTEM PUBLIC "${yoga_source}")
target_compile_features(yogacore PUBLIC cxx_std_20)
set_target_properties(yogacore PROPERTIES POSITION_INDEPENDENT_CODE ON)
