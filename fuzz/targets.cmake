# The fuzz targets, shared by the libFuzzer build (fuzz/) and the replay
# tests (tests/fuzz/).
set(APUTIL_FUZZ_TARGETS
  json_roundtrip devcfg_load radio_load regdomain dns_reply base64_decode rsa_verify hci_reply converters
  bignum md5_des b64_crc containers region_args conv_args evloop_ops json_edit api_args regdb)

# The system cJSON as the oracle process of json_edit, where it is there.
find_path(SYSTEM_CJSON_INCLUDE_DIR cjson/cJSON.h)
find_library(SYSTEM_CJSON_LIBRARY cjson)
if(SYSTEM_CJSON_INCLUDE_DIR AND SYSTEM_CJSON_LIBRARY AND NOT CMAKE_CROSSCOMPILING AND NOT TARGET aputil_cjson_oracle)
  add_executable(aputil_cjson_oracle ${CMAKE_CURRENT_LIST_DIR}/cjson_oracle.c)
  target_include_directories(aputil_cjson_oracle PRIVATE ${SYSTEM_CJSON_INCLUDE_DIR})
  target_link_libraries(aputil_cjson_oracle PRIVATE ${SYSTEM_CJSON_LIBRARY})
endif()

if(APUTIL_FUZZ AND NOT TARGET aputil_cjson_oracle)
  message(FATAL_ERROR "the json_edit fuzz target compares with the system cJSON: install libcjson-dev")
endif()

# LLVM's FuzzedDataProvider (a header of clang's) decodes the inputs. Only
# that header is copied into the build tree, so that no other header of
# clang's shadows the compiler's own.
if(NOT FUZZED_DATA_PROVIDER_INCLUDE)
  file(GLOB provider_candidates /usr/lib/llvm-*/lib/clang/*/include/fuzzer/FuzzedDataProvider.h)
  if(provider_candidates)
    list(GET provider_candidates 0 provider)
    file(COPY ${provider} DESTINATION ${PROJECT_BINARY_DIR}/fuzz-include/fuzzer)
    set(FUZZED_DATA_PROVIDER_INCLUDE ${PROJECT_BINARY_DIR}/fuzz-include)
  endif()
endif()

function(aputil_fuzz_target_setup exe name)
  target_include_directories(${exe} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_BINARY_DIR}/generated
                                            ${PROJECT_SOURCE_DIR}/fuzz)
  target_include_directories(${exe} SYSTEM PRIVATE ${FUZZED_DATA_PROVIDER_INCLUDE} ${RAPIDJSON_INCLUDE_DIR})
  target_link_libraries(${exe} PRIVATE aputil_static)
  if(name MATCHES "^(bignum|md5_des)$")
    target_link_libraries(${exe} PRIVATE OpenSSL::Crypto)
  elseif(name STREQUAL "b64_crc")
    find_package(ZLIB REQUIRED)
    target_link_libraries(${exe} PRIVATE OpenSSL::Crypto ZLIB::ZLIB)
  elseif(name STREQUAL "json_edit")
    # RapidJSON (the strict reference parse) offsets its still-null stack
    # pointer, its own idiom; that one check is left out here.
    target_compile_options(${exe} PRIVATE -fno-sanitize=pointer-overflow)
    if(TARGET aputil_cjson_oracle)
      target_compile_definitions(${exe} PRIVATE CJSON_ORACLE="$<TARGET_FILE:aputil_cjson_oracle>")
      add_dependencies(${exe} aputil_cjson_oracle)
    endif()
  elseif(name STREQUAL "regdb")
    target_sources(${exe} PRIVATE ${PROJECT_SOURCE_DIR}/tools/aputil-info/regdb.cc)
    target_include_directories(${exe} PRIVATE ${PROJECT_SOURCE_DIR}/tools)
  endif()
endfunction()
