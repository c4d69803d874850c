#pragma once

namespace morvex {

// The conversion library's numbers of the formats that the program treats in a way of their own. The tables
// of input_formats.cpp and output_formats.cpp hold the numbers of all formats. One number often stands for
// the 2D and the 3D variant of a system, and some differ between input and output.
inline constexpr int kCodeAny = 1;  // any format; also the answer for an unknown text
inline constexpr int kCodeParasolid = 5;
inline constexpr int kCodeCadds = 7;
inline constexpr int kCodeCatiaV4 = 8;
inline constexpr int kCodeCreo = 12;
inline constexpr int kCodeRobface = 13;
inline constexpr int kCodeRobfaceFacets = 14;  // output only: as an input the facets are read as kCodeRobface
inline constexpr int kCodeVdafs = 18;
inline constexpr int kCodeUnisurf = 20;
inline constexpr int kCodeJt = 21;
inline constexpr int kCodeStl = 22;
inline constexpr int kCodeVrml = 23;
inline constexpr int kCodeCgr = 26;
inline constexpr int kCode3dxml = 28;
inline constexpr int kCodeCollada = 37;
inline constexpr int kCodePdf3d = 39;
inline constexpr int kCodeRnXml = 41;
inline constexpr int kCodeObj = 45;
inline constexpr int kCodePrc = 47;
inline constexpr int kCode3mf = 50;
inline constexpr int kCodeGltf = 54;
inline constexpr int kCodeFbx = 55;
inline constexpr int kCodeSmg = 58;

}  // namespace morvex
