# Writes a C++ source that holds files as byte arrays.
#   cmake -DOUTPUT=out.cpp -DFILES="a|b" -DSYMBOL=name -P EmbedFiles.cmake
# The source defines `const EmbeddedFile SYMBOL[]` and `SYMBOL_count`, with
# EmbeddedFile as declared in tools/ombrel/EmbeddedSample.h.
string(REPLACE "|" ";" FILES "${FILES}")
set(body "#include \"tools/ombrel/EmbeddedSample.h\"\n\nnamespace {\n")
set(entries "")
set(index 0)
foreach(path IN LISTS FILES)
  file(READ ${path} hex HEX)
  string(LENGTH "${hex}" hex_length)
  math(EXPR size "${hex_length} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "((0x[0-9a-f][0-9a-f],){24})" "\\1\n" bytes "${bytes}")
  get_filename_component(name ${path} NAME)
  string(APPEND body "const unsigned char file${index}[${size} + 1] = {\n${bytes}0};\n")
  string(APPEND entries "    {\"${name}\", file${index}, ${size}},\n")
  math(EXPR index "${index} + 1")
endforeach()
string(APPEND body "}  // namespace\n\nconst EmbeddedFile ${SYMBOL}[] = {\n${entries}};\n")
string(APPEND body "const unsigned ${SYMBOL}_count = ${index};\n")
file(WRITE ${OUTPUT} "${body}")
