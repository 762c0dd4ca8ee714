# Writes OUTPUT, a C++ source that defines the bytes of INPUT as `NAME` and their number as
# `NAMESize`. usage: cmake -DINPUT=... -DOUTPUT=... -DNAME=... -P EmbedFile.cmake
file(READ ${INPUT} bytes HEX)
string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
string(REGEX REPLACE "((0x..,)(0x..,)(0x..,)(0x..,)(0x..,)(0x..,)(0x..,)(0x..,))" "\\1\n" bytes
                     "${bytes}")
file(
  WRITE ${OUTPUT}
  "extern const unsigned char ${NAME}[];\nextern const unsigned long ${NAME}Size;\n"
  "const unsigned char ${NAME}[] = {\n${bytes}};\nconst unsigned long ${NAME}Size = sizeof ${NAME};\n"
)
