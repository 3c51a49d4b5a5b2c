# xse_generate_resources(INPUT OUTPUT_DIR VERSION): turns the description of
# the plug-in's resources (xsereader.resources, whose head explains the
# format) into
#   xsereaderresourceids.h      the ids as constants of namespace xsereader
#   xsereaderresourcetables.inc the framework's tables of dialogs and strings
#   xsereader.rc                the same as Windows resources, with VERSIONINFO
# in OUTPUT_DIR/interpreters/xsereader/. It runs when CMake configures, and
# again whenever the description or this script changes, so the files exist
# before anything is compiled and a build never sees two versions of them.
# A file is rewritten only when its text changes. Fails the configuration,
# naming the line, when the description cannot be read.

# Control kinds: the framework's name and the Windows class and base style
# (a label is what the resource compiler makes of LTEXT).
set(_xse_kind_groupbox "kGroupBox;Button;BS_GROUPBOX")
set(_xse_kind_radio "kRadioButton;Button;BS_RADIOBUTTON")
set(_xse_kind_label "kLabel;Static;SS_LEFT | WS_GROUP")
set(_xse_kind_edit "kEditBox;Edit;ES_LEFT")
# Styles: the framework's flag and the Windows one. An automatic radio button
# is a base style of its own on Windows.
set(_xse_style_group "kStyleGroupStart;WS_GROUP")
set(_xse_style_tabstop "kStyleTabStop;WS_TABSTOP")
set(_xse_style_border "kStyleBorder;WS_BORDER")
set(_xse_style_autohscroll "kStyleAutoHScroll;ES_AUTOHSCROLL")
set(_xse_style_autoradio "kStyleAutoRadio;")

function(_xse_write_if_changed path text)
  if(EXISTS "${path}")
    file(READ "${path}" old)
    if(old STREQUAL text)
      return()
    endif()
  endif()
  file(WRITE "${path}" "${text}")
endfunction()

# A text as a literal of C++ and of the resource script alike: both escape
# with a backslash, and the format has no quotes inside texts.
function(_xse_literal text var)
  string(REPLACE "\\" "\\\\" escaped "${text}")
  set(${var} "\"${escaped}\"" PARENT_SCOPE)
endfunction()

function(xse_generate_resources input output_dir version)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    "${input}" "${CMAKE_CURRENT_FUNCTION_LIST_FILE}")
  file(STRINGS "${input}" lines ENCODING UTF-8)
  get_filename_component(source_name "${input}" NAME)
  set(header "// Made by xsereaderresources.cmake from ${source_name}: edit that file.\n")

  set(ids "")          # names given by `id`
  set(ids_h "")
  set(tables "")
  set(dialogs "")
  set(strings "")
  set(rc_dialogs "")
  set(rc_strings "")
  set(dialog "")       # the name of the dialog whose controls follow
  set(dialog_count 0)
  set(string_count 0)
  foreach(line IN LISTS lines)
    if(line MATCHES "^[ \t]*(#|$)")
      continue()
    endif()
    if(line MATCHES "[;\\[\\]]")
      message(FATAL_ERROR "${source_name}: ';', '[' and ']' are not allowed: ${line}")
    endif()
    string(REGEX MATCHALL "\"[^\"]*\"|[^ \t\"]+" fields "${line}")
    list(POP_FRONT fields keyword)
    list(LENGTH fields count)
    # Texts lose their quotes; an id field "-" is a control without an id.
    set(values "")
    foreach(field IN LISTS fields)
      if(field MATCHES "^\"(.*)\"$")
        list(APPEND values "${CMAKE_MATCH_1}")
      else()
        list(APPEND values "${field}")
      endif()
    endforeach()

    if(keyword STREQUAL "id")
      if(NOT count EQUAL 2 OR NOT fields MATCHES "^k[A-Za-z0-9]+;[0-9]+$")
        message(FATAL_ERROR "${source_name}: expected `id kName NUMBER`: ${line}")
      endif()
      list(GET values 0 name)
      list(GET values 1 number)
      if(name IN_LIST ids)
        message(FATAL_ERROR "${source_name}: ${name} is given twice: ${line}")
      endif()
      list(APPEND ids ${name})
      set(_xse_id_${name} ${number})
      string(APPEND ids_h "inline constexpr int32_t ${name} = ${number};\n")
      continue()
    endif()

    # Every other line names ids given before it.
    set(id_field "")
    if(count GREATER 0)
      list(GET values 0 id_field)
    endif()
    if(id_field STREQUAL "-" AND NOT keyword STREQUAL "dialog" AND NOT keyword STREQUAL "string")
      set(id_cxx "kNoControlId")
      set(id_rc "-1")
    elseif(id_field IN_LIST ids)
      set(id_cxx "${id_field}")
      set(id_rc "${_xse_id_${id_field}}")
    elseif(NOT keyword STREQUAL "end")
      message(FATAL_ERROR "${source_name}: unknown id '${id_field}': ${line}")
    endif()

    if(keyword STREQUAL "dialog")
      if(NOT dialog STREQUAL "" OR NOT count EQUAL 6)
        message(FATAL_ERROR
          "${source_name}: expected `dialog ID \"CAPTION\" \"FONT\" POINTS WIDTH HEIGHT` after `end`: ${line}")
      endif()
      list(GET values 1 caption)
      list(GET values 2 font)
      list(SUBLIST values 3 3 numbers)
      list(JOIN numbers ", " numbers_text)
      set(dialog "${id_field}")
      set(controls "")
      set(control_count 0)
      _xse_literal("${caption}" caption)
      _xse_literal("${font}" font)
      string(APPEND dialogs
        "    {${id_cxx}, ${caption}, ${font}, ${numbers_text}, ${dialog}Controls},\n")
      math(EXPR dialog_count "${dialog_count} + 1")
      list(GET numbers 0 points)
      list(GET numbers 1 width)
      list(GET numbers 2 height)
      string(APPEND rc_dialogs "${id_rc} DIALOGEX 0, 0, ${width}, ${height}  // ${id_field}\n"
        "STYLE DS_SETFONT | WS_CHILD | WS_DISABLED | WS_CAPTION\n"
        "CAPTION ${caption}\n"
        "FONT ${points}, ${font}\n"
        "BEGIN\n")
    elseif(keyword STREQUAL "end")
      if(dialog STREQUAL "" OR NOT count EQUAL 0)
        message(FATAL_ERROR "${source_name}: `end` without a dialog: ${line}")
      endif()
      string(APPEND tables
        "constexpr std::array<platform::DialogControl, ${control_count}> ${dialog}Controls = {{\n"
        "${controls}}};\n\n")
      string(APPEND rc_dialogs "END\n\n")
      set(dialog "")
    elseif(keyword STREQUAL "string")
      if(NOT dialog STREQUAL "" OR NOT count EQUAL 2)
        message(FATAL_ERROR "${source_name}: expected `string ID \"TEXT\"` outside a dialog: ${line}")
      endif()
      list(GET values 1 text)
      _xse_literal("${text}" text)
      string(APPEND strings "    {${id_cxx}, ${text}},\n")
      math(EXPR string_count "${string_count} + 1")
      string(APPEND rc_strings "    ${id_rc}, ${text}  // ${id_field}\n")
    elseif(DEFINED _xse_kind_${keyword})
      if(dialog STREQUAL "" OR count LESS 6 OR NOT fields MATCHES
          "^[^;]+;\"[^\"]*\";-?[0-9]+;-?[0-9]+;[0-9]+;[0-9]+(;|$)")
        message(FATAL_ERROR
          "${source_name}: expected `${keyword} ID \"TEXT\" X Y WIDTH HEIGHT [STYLE...]` inside a dialog: ${line}")
      endif()
      list(GET values 1 text)
      list(SUBLIST values 2 4 rect)
      list(JOIN rect ", " rect_text)
      set(styles "")
      if(count GREATER 6)
        list(SUBLIST values 6 -1 styles)
      endif()
      list(GET _xse_kind_${keyword} 0 kind_cxx)
      list(GET _xse_kind_${keyword} 1 class_rc)
      list(GET _xse_kind_${keyword} 2 style_rc)
      set(flags_cxx "")
      foreach(style IN LISTS styles)
        if(NOT DEFINED _xse_style_${style}
            OR (style STREQUAL "autoradio" AND NOT keyword STREQUAL "radio")
            OR (style STREQUAL "autohscroll" AND NOT keyword STREQUAL "edit"))
          message(FATAL_ERROR "${source_name}: no style '${style}' for a ${keyword}: ${line}")
        endif()
        list(GET _xse_style_${style} 0 flag_cxx)
        list(APPEND flags_cxx ${flag_cxx})
        if(style STREQUAL "autoradio")
          string(REPLACE "BS_RADIOBUTTON" "BS_AUTORADIOBUTTON" style_rc "${style_rc}")
        else()
          list(GET _xse_style_${style} 1 flag_rc)
          string(APPEND style_rc " | ${flag_rc}")
        endif()
      endforeach()
      if(flags_cxx STREQUAL "")
        set(flags_cxx 0)
      endif()
      list(JOIN flags_cxx " | " flags_cxx)
      _xse_literal("${text}" text)
      string(APPEND controls
        "    {ControlKind::${kind_cxx}, ${id_cxx}, ${text}, ${rect_text}, ${flags_cxx}},\n")
      math(EXPR control_count "${control_count} + 1")
      string(APPEND rc_dialogs
        "    CONTROL ${text}, ${id_rc}, \"${class_rc}\", ${style_rc}, ${rect_text}\n")
    else()
      message(FATAL_ERROR "${source_name}: unknown line: ${line}")
    endif()
  endforeach()
  if(NOT dialog STREQUAL "")
    message(FATAL_ERROR "${source_name}: the dialog ${dialog} has no `end`")
  endif()

  set(out "${output_dir}/interpreters/xsereader")
  _xse_write_if_changed("${out}/xsereaderresourceids.h" "${header}#pragma once

#include <cstdint>

namespace xsereader {

${ids_h}
}  // namespace xsereader
")

  # Included inside xsereaderresources.cpp's own namespace, where the
  # framework's names are in scope.
  _xse_write_if_changed("${out}/xsereaderresourcetables.inc" "${header}
${tables}constexpr std::array<platform::DialogTemplate, ${dialog_count}> kDialogs = {{
${dialogs}}};

constexpr std::array<platform::StringResource, ${string_count}> kStrings = {{
${strings}}};
")

  # The version as Windows writes it: four numbers.
  string(REGEX MATCHALL "[0-9]+" parts "${version}")
  list(APPEND parts 0 0 0 0)
  list(SUBLIST parts 0 4 parts)
  list(JOIN parts ", " version_numbers)
  _xse_write_if_changed("${out}/xsereader.rc" "${header}#pragma code_page(65001)
#include <windows.h>

${rc_dialogs}STRINGTABLE
BEGIN
${rc_strings}END

1 VERSIONINFO
FILEVERSION ${version_numbers}
PRODUCTVERSION ${version_numbers}
FILEFLAGSMASK VS_FFI_FILEFLAGSMASK
FILEFLAGS 0
FILEOS VOS_NT_WINDOWS32
FILETYPE VFT_DLL
FILESUBTYPE VFT2_UNKNOWN
BEGIN
    BLOCK \"StringFileInfo\"
    BEGIN
        BLOCK \"040904B0\"
        BEGIN
            VALUE \"FileDescription\", \"XSE reader plug-in module\"
            VALUE \"FileVersion\", \"${version}\"
            VALUE \"InternalName\", \"xsereader\"
            VALUE \"OriginalFilename\", \"xsereader.dll\"
            VALUE \"ProductName\", \"XSEReader\"
            VALUE \"ProductVersion\", \"${version}\"
        END
    END
    BLOCK \"VarFileInfo\"
    BEGIN
        VALUE \"Translation\", 0x409, 1200
    END
END
")
endfunction()
