// Numbers of the controls of the settings dialogs, Options and About, for the resource compiler and for C++:
// only defines and comments. A number may stand for different controls in different templates. Labels and
// group boxes carry the id of their text (string_ids.h) instead.
#pragma once

// Configuration file. Its path stands in a control of another number in the healing and Robcad templates.
#define IDC_CFG_PATH 1085
#define IDC_CFG_PATH_HEALING 1041
#define IDC_CFG_PATH_ROBCAD 1043
#define IDC_CFG_LOAD 1071
#define IDC_CFG_DEFAULT 1072

// Blanked entities.
#define IDC_PART_DELETE 1011
#define IDC_PART_WRITE 1012
#define IDC_FDT_DELETE 1013
#define IDC_FDT_WRITE 1014
#define IDC_ASSEMBLY_DELETE 1015
#define IDC_ASSEMBLY_WRITE 1016
#define IDC_HEALING_PART_DELETE 1043
#define IDC_HEALING_PART_WRITE 1044
#define IDC_HEALING_ASSEMBLY_DELETE 1045
#define IDC_HEALING_ASSEMBLY_WRITE 1046

// What is chosen from the input file.
#define IDC_CATALOG_ALL 1025
#define IDC_CATALOG_DEFAULT 1064
#define IDC_CATALOG_ASK 1065
#define IDC_AXIS_NONE 1021
#define IDC_AXIS_DEFAULT 1062
#define IDC_AXIS_ASK 1063
#define IDC_LAYER_NONE 1019
#define IDC_LAYER_DEFAULT 1060
#define IDC_LAYER_ASK 1061
#define IDC_REFERENCE_SET_NONE 1027
#define IDC_REFERENCE_SET_ASK 1067

// Switches.
#define IDC_WIREFRAME 1001
#define IDC_FDT 1002
#define IDC_RENDER 2053
#define IDC_MODEL_DISPLAY 2054
#define IDC_METADATA 1075
#define IDC_GEOM_LINK 2055
#define IDC_BODY 2057
#define IDC_MESH 2058
#define IDC_NURBS 1020
#define IDC_SOLID_AS_GROUP 1023
#define IDC_KEEP_ASSEMBLY 1026
#define IDC_HEALING_KEEP_ASSEMBLY 1067
#define IDC_SIMPLIFY_TREE 1028

// Tessellation.
#define IDC_EXISTING_MESHES 1068
#define IDC_FORCE_TESSELLATION 1069
#define IDC_LINEAR_VALUE 1006
#define IDC_LINEAR_DISABLE 1059
#define IDC_ANGULAR_SLIDER 1058
#define IDC_ANGULAR_VALUE 1007
#define IDC_ANGULAR_DISABLE 1018

// PDF.
#define IDC_3D_MESH 1070
#define IDC_3D_BREP 1073
#define IDC_3D_BOTH 1074
#define IDC_PDF_ADVANCED 3000
#define IDC_PDF_OPTION_1 1076

// Robcad.
#define IDC_NAME_LENGTH 1040
#define IDC_MAX_ANGLE 1041
#define IDC_MAX_SAG 1042

// Options and About.
#define IDC_LANGUAGE 1030
#define IDC_ABOUT 122
#define IDC_VERSION 2027
#define IDC_COMPUTER_NAME 1032
#define IDC_LEGAL_NOTICE 1033
