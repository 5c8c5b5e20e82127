# Resources by type name and number, compiled into a module. FindResourceA and LoadStringA of
# krdcmmn/platform/modules.h find them while the module is loaded.
#
#   krd_add_resources(TARGET [NAME name]
#     [RESOURCE type number file [CRLF]]...   # the bytes of a file; CRLF: every line ends in CR LF
#     [STRINGS file]...)                      # string resources, a line each: 17 The text\n
#
# TARGET is a program, a shared library, a module, or a library of objects, and links krdcmmn or sees
# its headers. Files are taken as they are when the target is built; a change of one builds anew.
#
# The object file of a plain static library is only linked into a program that asks for something in
# it. There, and in objects that end up in such a library, code of the library that is linked for sure
# calls the empty function
#
#   extern "C" void krd_resources_NAME();     // NAME as given, else TARGET
#
# This file is all there is: it needs CMake and the compiler, and serves as the script that prepares
# the files too.

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  # cmake -D MODE=crlf|strings -D FROM=file -D TO=file -P KrdResources.cmake
  file(READ "${FROM}" text)
  if(MODE STREQUAL "crlf")
    string(REPLACE "\r\n" "\n" text "${text}")
    string(REPLACE "\n" "\r\n" text "${text}")
  else()
    set(number 0)
    set(rest "${text}\n")
    while(NOT rest STREQUAL "")
      math(EXPR number "${number} + 1")
      string(FIND "${rest}" "\n" end)
      string(SUBSTRING "${rest}" 0 ${end} line)
      math(EXPR next "${end} + 1")
      string(SUBSTRING "${rest}" ${next} -1 rest)
      if(NOT line MATCHES "^([0-9]+([ \t].*)?|#.*|\r?)$")
        message(FATAL_ERROR "${FROM}:${number}: a line is a number, a blank and a text: ${line}")
      endif()
    endwhile()
  endif()
  file(WRITE "${TO}" "${text}")
  return()
endif()

# Makes `prepared` the path of a copy of `file` that the script above has prepared by `mode`.
function(_krd_prepare_resource mode file copy)
  set(script "${CMAKE_CURRENT_FUNCTION_LIST_FILE}")
  add_custom_command(
    OUTPUT "${copy}"
    COMMAND "${CMAKE_COMMAND}" -D MODE=${mode} -D "FROM=${file}" -D "TO=${copy}" -P "${script}"
    DEPENDS "${file}" "${script}"
    COMMENT "Preparing resource ${copy}" VERBATIM)
endfunction()

function(krd_add_resources target)
  set(arguments ${ARGN})
  set(name ${target})
  list(FIND arguments NAME at)
  if(NOT at EQUAL -1)
    math(EXPR value "${at} + 1")
    list(GET arguments ${value} name)
    list(REMOVE_AT arguments ${at} ${value})
  endif()
  string(MAKE_C_IDENTIFIER "${name}" name)
  set(folder "${CMAKE_CURRENT_BINARY_DIR}/krd_resources_${name}")
  file(MAKE_DIRECTORY "${folder}")

  set(count 0)
  set(strings 0)
  set(bytes "")      # assembler: the files between labels
  set(labels "")     # declarations of those labels
  set(rows "")       # the table of resources
  set(sizes "")      # statements that set their sizes
  set(inputs "")     # files that the object file is made from
  set(prepared "")   # those of them that the build makes
  while(arguments)
    list(POP_FRONT arguments keyword)
    if(keyword STREQUAL "RESOURCE")
      list(POP_FRONT arguments type number file)
      set(mode "")
      if(arguments MATCHES "^CRLF(;|$)")
        list(POP_FRONT arguments)
        set(mode crlf)
      endif()
    elseif(keyword STREQUAL "STRINGS")
      list(POP_FRONT arguments file)
      math(EXPR strings "${strings} + 1")
      set(type STRINGS)
      set(number ${strings})
      set(mode strings)
    else()
      message(FATAL_ERROR "krd_add_resources(${target}): unexpected ${keyword}")
    endif()
    if(NOT file OR NOT number MATCHES "^[0-9]+$" OR number GREATER 65535)
      message(FATAL_ERROR "krd_add_resources(${target}): ${keyword} takes a type, a number up to "
                          "65535 and a file, but STRINGS only a file")
    endif()
    get_filename_component(file "${file}" ABSOLUTE)
    if(mode)
      set(copy "${folder}/${count}.bin")
      _krd_prepare_resource(${mode} "${file}" "${copy}")
      list(APPEND prepared "${copy}")
      set(file "${copy}")
    endif()
    list(APPEND inputs "${file}")

    set(label krd_resource_${name}_${count})
    string(APPEND bytes "\".balign 16\\n.globl ${label}\\n.hidden ${label}\\n${label}:\\n\"\n"
                        "\".incbin \\\"${file}\\\"\\n\"\n"
                        "\".globl ${label}_end\\n.hidden ${label}_end\\n${label}_end:\\n.byte 0\\n\"\n")
    string(APPEND labels "HIDDEN extern const unsigned char ${label}[], ${label}_end[];\n")
    math(EXPR next "${count} + 1")
    string(APPEND rows "    {\"${type}\", ${number}, ${label}, 0, &table[${next}]},\n")
    string(APPEND sizes "  table[${count}].size = static_cast<std::uint32_t>(${label}_end - ${label});\n")
    set(count ${next})
  endwhile()
  if(count EQUAL 0)
    message(FATAL_ERROR "krd_add_resources(${target}): no resources")
  endif()
  string(REGEX REPLACE "&table\\[${count}\\]" "nullptr" rows "${rows}")

  set(source "${folder}/resources.cpp")
  file(CONFIGURE OUTPUT "${source}" @ONLY CONTENT [=[
// Resources of @target@, written by krd_add_resources.
#include "krdcmmn/platform/modules.h"

#define HIDDEN __attribute__((visibility("hidden")))

asm(".pushsection .rodata\n"
@bytes@".popsection\n");

extern "C" {
@labels@HIDDEN void krd_resources_@name@();
void krd_resources_@name@() {}
}

namespace {

constinit RESOURCE table[@count@] = {
@rows@};

[[gnu::constructor(kResourcesPriority)]] void Enter() {
@sizes@  RegisterResources(table, table);
}

[[gnu::destructor(kResourcesPriority)]] void Leave() {
  UnregisterResources(table);
}

}  // namespace
]=])
  target_sources(${target} PRIVATE "${source}")
  set_property(SOURCE "${source}" TARGET_DIRECTORY ${target}
               APPEND PROPERTY OBJECT_DEPENDS ${inputs})
  if(prepared)
    add_custom_target(krd_resources_${name} DEPENDS ${prepared})
    add_dependencies(${target} krd_resources_${name})
  endif()
endfunction()
