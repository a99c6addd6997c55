#include "platform/linux/KeyCodeTable.h"

#include <X11/X.h>
#include <X11/keysym.h>

#include <iterator>

namespace {

struct Entry
{
    int code;
    unsigned long keysym;
};

constexpr Entry table[] = {
    {0, XK_a},
    {1, XK_s},
    {2, XK_d},
    {3, XK_f},
    {4, XK_h},
    {5, XK_g},
    {6, XK_z},
    {7, XK_x},
    {8, XK_c},
    {9, XK_v},
    {11, XK_b},
    {12, XK_q},
    {13, XK_w},
    {14, XK_e},
    {15, XK_r},
    {16, XK_y},
    {17, XK_t},
    {18, XK_1},
    {19, XK_2},
    {20, XK_3},
    {21, XK_4},
    {22, XK_6},
    {23, XK_5},
    {24, XK_equal},
    {25, XK_9},
    {26, XK_7},
    {27, XK_minus},
    {28, XK_8},
    {29, XK_0},
    {30, XK_bracketright},
    {31, XK_o},
    {32, XK_u},
    {33, XK_bracketleft},
    {34, XK_i},
    {35, XK_p},
    {36, XK_Return},
    {37, XK_l},
    {38, XK_j},
    {39, XK_apostrophe},
    {40, XK_k},
    {41, XK_semicolon},
    {42, XK_backslash},
    {43, XK_comma},
    {44, XK_slash},
    {45, XK_n},
    {46, XK_m},
    {47, XK_period},
    {48, XK_Tab},
    {49, XK_space},
    {50, XK_grave},
    {51, XK_BackSpace},
    {53, XK_Escape},
    {96, XK_F5},
    {97, XK_F6},
    {98, XK_F7},
    {99, XK_F3},
    {100, XK_F8},
    {101, XK_F9},
    {103, XK_F11},
    {105, XK_F13},
    {107, XK_F14},
    {109, XK_F10},
    {111, XK_F12},
    {113, XK_F15},
    {114, XK_Insert},
    {114, XK_Help},
    {115, XK_Home},
    {116, XK_Prior},
    {117, XK_Delete},
    {118, XK_F4},
    {119, XK_End},
    {120, XK_F2},
    {121, XK_Next},
    {122, XK_F1},
    {123, XK_Left},
    {124, XK_Right},
    {125, XK_Down},
    {126, XK_Up},
    // The ISO key beside Left Shift, F16 to F20, and the keypad: its digits with Num Lock on
    // and, as the base level with it off, the movement keys printed under them.
    {10, XK_less},
    {106, XK_F16},
    {64, XK_F17},
    {79, XK_F18},
    {80, XK_F19},
    {90, XK_F20},
    {71, XK_Num_Lock},
    {76, XK_KP_Enter},
    {65, XK_KP_Decimal},
    {65, XK_KP_Delete},
    {67, XK_KP_Multiply},
    {69, XK_KP_Add},
    {75, XK_KP_Divide},
    {78, XK_KP_Subtract},
    {81, XK_KP_Equal},
    {82, XK_KP_0},
    {82, XK_KP_Insert},
    {83, XK_KP_1},
    {83, XK_KP_End},
    {84, XK_KP_2},
    {84, XK_KP_Down},
    {85, XK_KP_3},
    {85, XK_KP_Next},
    {86, XK_KP_4},
    {86, XK_KP_Left},
    {87, XK_KP_5},
    {87, XK_KP_Begin},
    {88, XK_KP_6},
    {88, XK_KP_Right},
    {89, XK_KP_7},
    {89, XK_KP_Home},
    {91, XK_KP_8},
    {91, XK_KP_Up},
    {92, XK_KP_9},
    {92, XK_KP_Prior},
};

} // namespace

int KeyCodeTable::fromKeysym(unsigned long keysym)
{
    // Shifted letters come as upper case from some layouts.
    if (keysym >= XK_A && keysym <= XK_Z)
        keysym += XK_a - XK_A;
    for (const Entry &entry : table) {
        if (entry.keysym == keysym)
            return entry.code;
    }
    return -1;
}

unsigned long KeyCodeTable::toKeysym(int keyCode)
{
    for (const Entry &entry : table) {
        if (entry.code == keyCode)
            return entry.keysym;
    }
    return NoSymbol;
}
