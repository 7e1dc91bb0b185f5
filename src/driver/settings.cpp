#include "driver/settings.h"

namespace orvelle {

int Context_Size = 2;
double Min_Info_Gain = 0.5;
double Smoothing_Weight = 1.0;
double Word_Class_Weight = 0.15;
double Cut_Off_Gain = 1.2;
double Lex_Threshold = 0.0;
const char* SENT_TAG = "SENT";
int Max_Number_of_Classes = 1000;
int Quiet = 0;
int UTF8_Processing = 0;

const char* Lexicon_File_Name = nullptr;
const char* Open_Class_File_Name = nullptr;
const char* Input_File_Name = nullptr;
const char* Output_File_Name = nullptr;

}  // namespace orvelle
