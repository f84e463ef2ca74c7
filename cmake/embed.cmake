# Writes HEADER with the bytes of files: LIST is NAME|FILE|NAME|FILE...
string(REPLACE "|" ";" rest "${LIST}")
set(text "#pragma once\n\n#include <string_view>\n")
while(rest)
    list(POP_FRONT rest name file)
    file(READ ${file} bytes HEX)
    string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
    string(APPEND text "\ninline constexpr char ${name}_BYTES[] = {${bytes}};\n"
        "inline constexpr std::string_view ${name}(${name}_BYTES, sizeof(${name}_BYTES));\n")
endwhile()
file(WRITE ${HEADER} "${text}")
