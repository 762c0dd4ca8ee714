# Writes OUTPUT, a C++ source that defines the bytes of the FILES in FOLDER as meeting::kEmbeddedFiles
# (meeting/room/EmbeddedFile.h).
# usage: cmake -DFOLDER=... "-DFILES=NAME;..." -DOUTPUT=... -P EmbedFiles.cmake
set(bytes_of_files)
set(table)
foreach(name IN LISTS FILES)
  string(MAKE_C_IDENTIFIER ${name} identifier)
  file(READ ${FOLDER}/${name} bytes HEX)
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
  string(REGEX REPLACE "(........................................)" "\\1\n" bytes "${bytes}")
  string(APPEND bytes_of_files "const unsigned char ${identifier}[] = {\n${bytes}};\n")
  string(APPEND table "    {\"${name}\", {reinterpret_cast<const char*>(${identifier}), sizeof ${identifier}}},\n")
endforeach()
file(
  WRITE ${OUTPUT}
  "#include \"meeting/room/EmbeddedFile.h\"\n\nnamespace meeting {\n\nnamespace {\n"
  "${bytes_of_files}const EmbeddedFile files[] = {\n${table}};\n}  // namespace\n\n"
  "const std::span<const EmbeddedFile> kEmbeddedFiles(files);\n\n}  // namespace meeting\n")
