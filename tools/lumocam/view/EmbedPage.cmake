# Turns the page's files into one C++ source of byte arrays, so that lumocam
# serves the page from its own binary.
#   cmake -DOUT=<file.cpp> -DFILES=<a|b|c> -P EmbedPage.cmake
string(REPLACE "|" ";" files "${FILES}")
set(arrays "")
set(table "")
set(index 0)
foreach(file IN LISTS files)
    get_filename_component(name "${file}" NAME)
    file(READ "${file}" hex HEX)
    string(LENGTH "${hex}" hex_length)
    math(EXPR size "${hex_length} / 2")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
    # One line per 32 bytes keeps the generated file readable by compilers and people.
    string(REGEX REPLACE "((0x..,){32})" "\\1\n    " bytes "${bytes}")
    string(APPEND arrays "const unsigned char kAsset${index}[] = {\n    ${bytes}0x00};\n")
    string(APPEND table "    {\"${name}\", kAsset${index}, ${size}},\n")
    math(EXPR index "${index} + 1")
endforeach()
file(WRITE "${OUT}.tmp" "// Generated from tools/lumocam/view/page by EmbedPage.cmake; do not edit.
#include \"PageAssets.h\"

namespace lumocam {
namespace {
${arrays}}  // namespace

extern const PageAsset kPageAssets[] = {
${table}};
extern const std::size_t kPageAssetCount = ${index};

}  // namespace lumocam
")
# Unchanged content keeps the object file, and the tool, from being rebuilt.
file(COPY_FILE "${OUT}.tmp" "${OUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUT}.tmp")
