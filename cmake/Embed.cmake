# Run as a script: cmake -DINPUT=file -DOUTPUT=file.cpp -DNAME=symbol -P Embed.cmake. Writes a file as a C++ constant.
file(READ ${INPUT} BYTES HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," BYTES "${BYTES}")
string(REGEX REPLACE "((0x..,){24})" "\\1\n" BYTES "${BYTES}")
file(WRITE ${OUTPUT} "#include \"base/EmbeddedFile.h\"\n
namespace zelvo {
namespace {
constexpr unsigned char bytes[] = {\n${BYTES}0x00};
}
extern EmbeddedFile const ${NAME};
EmbeddedFile const ${NAME}{bytes, sizeof bytes - 1};
}\n")
