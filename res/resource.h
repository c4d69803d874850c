// Numbers of dialog templates and of the main window's and the progress dialog's controls, for the resource
// compiler and for C++. A control whose text is localised carries its text's id (string_ids.h).
#pragma once

#define IDI_MORVEX 128

#define IDD_ABOUT 100
#define IDD_MAIN 102
#define IDD_CFG_STL 105
#define IDD_PROGRESS 133
#define IDD_OPTIONS 134
#define IDD_RESULT_CARD 135
#define IDD_CFG_DEFAULT 146
#define IDD_CFG_ROBCAD 2048
#define IDD_CFG_HEALING 2049
#define IDD_CFG_XMT 2051
#define IDD_CFG_PDF 2052
#define IDD_CFG_PDF_ADVANCED 2053

#define IDC_LIST 1003
#define IDC_INPUT_FORMAT 1011
#define IDC_OUTPUT_FORMAT 1012
#define IDC_BROWSE 1016
#define IDC_OUTPUT_FOLDER 1019
#define IDC_STATUS_LINE 1040
#define IDC_ACTION 1042

#define IDC_CARD_PICTURE 1043
#define IDC_CARD_FACTS 1044
#define IDC_CARD_NAME 1045

#define IDC_FILE_PROGRESS 1020
#define IDC_RUN_PROGRESS 1021
#define IDC_FILE_NAME 1023
#define IDC_FILE_PERCENT 1024
#define IDC_RUN_COUNTER 1025
