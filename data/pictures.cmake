# The palette as a header, and the pictures: templates filled in with its colours, rendered and written as JPEG.

set(palette ${CMAKE_CURRENT_SOURCE_DIR}/palette.toml)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${palette})
file(STRINGS ${palette} colour_lines REGEX "^[a-z_]+ *=")
set(palette_constants "")
foreach(line IN LISTS colour_lines)
  if(NOT line MATCHES "^([a-z_]+) *= *\"(#([0-9a-f][0-9a-f])([0-9a-f][0-9a-f])([0-9a-f][0-9a-f]))\"")
    message(FATAL_ERROR "${palette}: not a colour: ${line}")
  endif()
  set(colour_${CMAKE_MATCH_1} ${CMAKE_MATCH_2})
  string(APPEND palette_constants
    "constexpr Colour ${CMAKE_MATCH_1}{0x${CMAKE_MATCH_3}, 0x${CMAKE_MATCH_4}, 0x${CMAKE_MATCH_5}};\n")
endforeach()
configure_file(palette.h.in ${GENERATED}/palette.h @ONLY)

find_program(RSVG_CONVERT rsvg-convert REQUIRED)
add_executable(png_to_jpeg ${CMAKE_SOURCE_DIR}/tools/png_to_jpeg.cpp)
target_link_libraries(png_to_jpeg PRIVATE PNG::PNG JPEG::JPEG)

set(pictures)

# picture(NAME TEMPLATE QUALITY [VARIABLE VALUE]...) makes NAME.jpg from pictures/TEMPLATE.svg.in.
function(picture name template quality)
  while(ARGN)
    list(POP_FRONT ARGN variable text)
    set(${variable} "${text}")
  endwhile()
  set(drawing ${CMAKE_CURRENT_BINARY_DIR}/pictures/${name})
  set(made ${NAND}/picture/${name}.jpg)
  configure_file(pictures/${template}.svg.in ${drawing}.svg @ONLY)
  add_custom_command(OUTPUT ${made}
    COMMAND ${RSVG_CONVERT} -o ${drawing}.png ${drawing}.svg
    COMMAND png_to_jpeg ${quality} ${drawing}.png ${made}
    DEPENDS ${drawing}.svg png_to_jpeg
    COMMENT "Drawing ${name}.jpg" VERBATIM)
  set(pictures ${pictures} ${made} PARENT_SCOPE)
endfunction()

# Sharp edges between flat areas that the program goes on drawing in need the best quality, the others do with less.
set(flat 100)
set(fine 95)

picture(main main ${flat})
picture(Logo logo ${fine})
picture(key_off key_off ${flat})
picture(key_on key_on ${flat})
picture(LXI network ${fine} ink ${colour_pass})
picture(LXIG network ${fine} ink ${colour_frame})

# Start-up: steps 0 to 7 of the progress; the bell's top is a row, the progress line is 120 pixels long.
macro(start_picture name step)
  math(EXPR top "100 - 80 * ${step} / 7")
  math(EXPR done "120 * ${step} / 7")
  picture(${name} start ${fine} top ${top} done ${done})
endmacro()
start_picture(systeminit 0)
foreach(step RANGE 0 7)
  math(EXPR number "${step} + 1")
  start_picture(systeminit${number} ${step})
endforeach()
start_picture(systeminit9 7)

picture(shutdown power_off ${fine} stroke ${colour_trace_a} disc 1 rest_x 65 rest 80)
picture(shutdown_o power_off ${fine} stroke ${colour_frame} disc .5 rest_x 95 rest 20)

foreach(trace A B C D)
  string(TOLOWER ${trace} letter)
  set(accent ${colour_trace_${letter}})
  foreach(mode CLR MAX MIN)
    picture(tr_${trace}${mode} trace_mode ${fine}
      fill ${accent} stroke ${accent} ink ${colour_ground} size 9 text "${trace} ${mode}")
  endforeach()
  picture(tr_${trace}VIEW trace_mode ${fine}
    fill ${colour_bar} stroke ${accent} ink ${accent} size 8 text "${trace} VIEW")
  picture(tr_${trace}BLANK trace_mode ${fine}
    fill none stroke ${colour_frame} ink ${colour_frame} size 11 text ${trace})
  foreach(detector NML PK+ PK- SMP AVG QP)
    picture(ICON${trace}_${detector} detector ${fine} ink ${accent} text ${detector})
  endforeach()
endforeach()

foreach(what LAN USB EXT RMT)
  picture(${what}_on status ${fine} ink ${colour_pass} text ${what})
  picture(${what}_off status ${fine} ink ${colour_label} text ${what})
endforeach()

# Copies that an owner may replace, on a partition of their own.
foreach(name Logo LXI LXIG)
  add_custom_command(OUTPUT ${KVA720_SHARE}/mtd14/${name}.jpg
    COMMAND ${CMAKE_COMMAND} -E copy ${NAND}/picture/${name}.jpg ${KVA720_SHARE}/mtd14/${name}.jpg
    DEPENDS ${NAND}/picture/${name}.jpg VERBATIM)
  list(APPEND pictures ${KVA720_SHARE}/mtd14/${name}.jpg)
endforeach()
