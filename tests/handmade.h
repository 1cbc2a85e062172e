// A save file of three levels written out by hand, byte by byte, each field at its place.
#pragma once

#include "tests/savebytes.h"

struct Piece {
    size_t at;
    const char* hex;
    const char* field;
};

/// The world "World" of a line of three, whose middle node holds "ab" of four; node 3 of that holds a
/// maze of one node without a name, where the player stands.
inline const Piece hand_pieces[] = {
    {0, "00", "root mark"},
    {1, "03000000", "root nodes"},
    {5, "000000000000F83F", "root 0 x"},
    {13, "00000000000000C0", "root 0 y"},
    {21, "000000000000D03F", "root 0 z"},
    {29, "000000000000E03F", "root 0 radius"},
    {37, "01000000", "root 0 edges"},
    {41, "01000000", "root 0 edge 0"},
    {45, "03020100", "root 0 edge 0: colour"},
    {49, "00000000", "root 0 edge 0: padding"},
    {53, "0000000000001C40", "root 0 edge 0: walked"},
    {61, "0000000000002040", "root 0 edge 0: trailed"},
    {69, "06050400", "root 0: colour"},
    {73, "00000000", "root 0: padding"},
    {77, "0000000000002240", "root 0: walked"},
    {85, "000000000000F0BF", "root 0: trailed"},
    {93, "00", "root 0 submaze"},
    {94, "0000000000002540", "root 1 x"},
    {102, "00000000000008C0", "root 1 y"},
    {110, "0000000000001040", "root 1 z"},
    {118, "000000000000E83F", "root 1 radius"},
    {126, "02000000", "root 1 edges"},
    {130, "02000000", "root 1 edge 0"},
    {134, "00000000", "root 1 edge 1"},
    {138, "33221100", "root 1 edge 0: colour"},
    {142, "00000000", "root 1 edge 0: padding"},
    {146, "000000000000F0BF", "root 1 edge 0: walked"},
    {154, "0000000000803040", "root 1 edge 0: trailed"},
    {162, "66554400", "root 1 edge 1: colour"},
    {166, "00000000", "root 1 edge 1: padding"},
    {170, "0000000000001C40", "root 1 edge 1: walked"},
    {178, "0000000000002040", "root 1 edge 1: trailed"},
    {186, "99887700", "root 1: colour"},
    {190, "00000000", "root 1: padding"},
    {194, "0000000000002340", "root 1: walked"},
    {202, "0000000000004040", "root 1: trailed"},
    {210, "01", "root 1 submaze"},
    {211, "00", "middle mark"},
    {212, "04000000", "middle nodes"},
    {216, "0000000000002440", "middle 0 x"},
    {224, "0000000000000CC0", "middle 0 y"},
    {232, "0000000000001240", "middle 0 z"},
    {240, "000000000000C03F", "middle 0 radius"},
    {248, "01000000", "middle 0 edges"},
    {252, "02000000", "middle 0 edge 0"},
    {256, "C0B0A000", "middle 0 edge 0: colour"},
    {260, "00000000", "middle 0 edge 0: padding"},
    {264, "000000000000F43F", "middle 0 edge 0: walked"},
    {272, "000000000000F0BF", "middle 0 edge 0: trailed"},
    {280, "F0E0D000", "middle 0: colour"},
    {284, "00000000", "middle 0: padding"},
    {288, "000000000000F0BF", "middle 0: walked"},
    {296, "0000000000000440", "middle 0: trailed"},
    {304, "00", "middle 0 submaze"},
    {305, "0000000000002640", "middle 1 x"},
    {313, "00000000000004C0", "middle 1 y"},
    {321, "0000000000000C40", "middle 1 z"},
    {329, "000000000000B03F", "middle 1 radius"},
    {337, "01000000", "middle 1 edges"},
    {341, "02000000", "middle 1 edge 0"},
    {345, "80808000", "middle 1 edge 0: colour"},
    {349, "00000000", "middle 1 edge 0: padding"},
    {353, "000000000000F0BF", "middle 1 edge 0: walked"},
    {361, "000000000000F0BF", "middle 1 edge 0: trailed"},
    {369, "80808000", "middle 1: colour"},
    {373, "00000000", "middle 1: padding"},
    {377, "000000000000F0BF", "middle 1: walked"},
    {385, "000000000000F0BF", "middle 1: trailed"},
    {393, "00", "middle 1 submaze"},
    {394, "0000000000802440", "middle 2 x"},
    {402, "00000000000006C0", "middle 2 y"},
    {410, "0000000000000E40", "middle 2 z"},
    {418, "000000000000D03F", "middle 2 radius"},
    {426, "02000000", "middle 2 edges"},
    {430, "01000000", "middle 2 edge 0"},
    {434, "00000000", "middle 2 edge 1"},
    {438, "80808000", "middle 2 edge 0: colour"},
    {442, "00000000", "middle 2 edge 0: padding"},
    {446, "000000000000F0BF", "middle 2 edge 0: walked"},
    {454, "000000000000F0BF", "middle 2 edge 0: trailed"},
    {462, "C1B1A100", "middle 2 edge 1: colour"},
    {466, "00000000", "middle 2 edge 1: padding"},
    {470, "000000000000F43F", "middle 2 edge 1: walked"},
    {478, "000000000000F0BF", "middle 2 edge 1: trailed"},
    {486, "70809000", "middle 2: colour"},
    {490, "00000000", "middle 2: padding"},
    {494, "0000000000005040", "middle 2: walked"},
    {502, "0000000000006040", "middle 2: trailed"},
    {510, "00", "middle 2 submaze"},
    {511, "0000000000002840", "middle 3 x"},
    {519, "00000000000010C0", "middle 3 y"},
    {527, "0000000000001440", "middle 3 z"},
    {535, "000000000000D83F", "middle 3 radius"},
    {543, "00000000", "middle 3 edges"},
    {547, "55443300", "middle 3: colour"},
    {551, "00000000", "middle 3: padding"},
    {555, "000000000000F0BF", "middle 3: walked"},
    {563, "000000000000F0BF", "middle 3: trailed"},
    {571, "01", "middle 3 submaze"},
    {572, "01", "inner mark"},
    {573, "01000000", "inner nodes"},
    {577, "0000000000402840", "inner 0 x"},
    {585, "00000000008010C0", "inner 0 y"},
    {593, "0000000000801440", "inner 0 z"},
    {601, "000000000000A03F", "inner 0 radius"},
    {609, "00000000", "inner 0 edges"},
    {613, "FFFFFF00", "inner 0: colour"},
    {617, "00000000", "inner 0: padding"},
    {621, "0000000000605040", "inner 0: walked"},
    {629, "000000000000F0BF", "inner 0: trailed"},
    {637, "00", "inner 0 submaze"},
    {638, "01000000", "inner visited"},
    {642, "00000000", "inner exits used"},
    {646, "00", "inner name"},
    {647, "01000000", "middle visited"},
    {651, "02000000", "middle exits used"},
    {655, "616200", "middle name"},
    {658, "000000000000F0BF", "root 2 x"},
    {666, "0000000000001840", "root 2 y"},
    {674, "0000000000001CC0", "root 2 z"},
    {682, "000000000000F03F", "root 2 radius"},
    {690, "01000000", "root 2 edges"},
    {694, "01000000", "root 2 edge 0"},
    {698, "EFCDAB00", "root 2 edge 0: colour"},
    {702, "00000000", "root 2 edge 0: padding"},
    {706, "000000000000F0BF", "root 2 edge 0: walked"},
    {714, "0000000000803040", "root 2 edge 0: trailed"},
    {722, "BADCFE00", "root 2: colour"},
    {726, "00000000", "root 2: padding"},
    {730, "000000000000F0BF", "root 2: walked"},
    {738, "00000000000000C0", "root 2: trailed"},
    {746, "00", "root 2 submaze"},
    {747, "02000000", "root visited"},
    {751, "00000000", "root exits used"},
    {755, "576F726C6400", "root name"},
    {761, "00000000", "player's node"},
    {765, "0000000000448F40", "clock"},
    {773, "0000000000000000", "right x"},
    {781, "000000000000F03F", "right y"},
    {789, "0000000000000000", "right z"},
    {797, "0000000000000000", "up x"},
    {805, "0000000000000000", "up y"},
    {813, "000000000000F03F", "up z"},
    {821, "000000000000F03F", "back x"},
    {829, "0000000000000000", "back y"},
    {837, "0000000000000000", "back z"},
    {845, "0000000000904240", "eye x"},
    {853, "00000000008010C0", "eye y"},
    {861, "0000000000801440", "eye z"},
    {869, "0000000000003940", "distance"},
    {877, "0000000000000040", "view: modelview 0"},
    {885, "0000000000000440", "view: modelview 1"},
    {893, "0000000000000840", "view: modelview 2"},
    {901, "0000000000000C40", "view: modelview 3"},
    {909, "0000000000001040", "view: modelview 4"},
    {917, "0000000000001240", "view: modelview 5"},
    {925, "0000000000001440", "view: modelview 6"},
    {933, "0000000000001640", "view: modelview 7"},
    {941, "0000000000001840", "view: modelview 8"},
    {949, "0000000000001A40", "view: modelview 9"},
    {957, "0000000000001C40", "view: modelview 10"},
    {965, "0000000000001E40", "view: modelview 11"},
    {973, "0000000000002040", "view: modelview 12"},
    {981, "0000000000002140", "view: modelview 13"},
    {989, "0000000000002240", "view: modelview 14"},
    {997, "0000000000002340", "view: modelview 15"},
    {1005, "0000000000002440", "view: eye x"},
    {1013, "0000000000002540", "view: eye y"},
    {1021, "0000000000002640", "view: eye z"},
    {1029, "0000000000002740", "view: tanx"},
    {1037, "0000000000002840", "view: tany"},
    {1045, "0000000000002940", "view: pixelscale"},
    {1053, "0000000000002A40", "view: secx"},
    {1061, "0000000000002B40", "view: secy"},
    {1069, "0000000000002C40", "view: near"},
    {1077, "0000000000002D40", "view: far"},
    {1085, "0000000000002E40", "view: clip 0, 0"},
    {1093, "0000000000002F40", "view: clip 0, 1"},
    {1101, "0000000000003040", "view: clip 0, 2"},
    {1109, "0000000000803040", "view: clip 0, 3"},
    {1117, "0000000000003140", "view: clip 1, 0"},
    {1125, "0000000000803140", "view: clip 1, 1"},
    {1133, "0000000000003240", "view: clip 1, 2"},
    {1141, "0000000000803240", "view: clip 1, 3"},
    {1149, "0000000000003340", "view: clip 2, 0"},
    {1157, "0000000000803340", "view: clip 2, 1"},
    {1165, "0000000000003440", "view: clip 2, 2"},
    {1173, "0000000000803440", "view: clip 2, 3"},
    {1181, "0000000000003540", "view: clip 3, 0"},
    {1189, "0000000000803540", "view: clip 3, 1"},
    {1197, "0000000000003640", "view: clip 3, 2"},
    {1205, "0000000000803640", "view: clip 3, 3"},
    {1213, "03000000", "view: viewport 0"},
    {1217, "83020000", "view: viewport 1"},
    {1221, "04000000", "view: viewport 2"},
    {1225, "E4010000", "view: viewport 3"},
    {1229, "0000000000003740", "view: pixelsize"},
    {1237, "05000000", "colours by age"},
    {1241, "FAFFFFFF", "colours by exits"},
    {1245, "00000000000000000000000000000000000000000000000000000000000000000000000000000000",
     "of no meaning"},
};

inline Bytes bytes_of(const Piece* piece)
{
    Bytes bytes;
    const std::string hex = piece->hex;
    for (size_t i = 0; i < hex.size(); i += 2) {
        bytes.push_back(static_cast<u8>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

inline Bytes hand_file()
{
    Bytes bytes;
    for (const Piece& piece : hand_pieces) {
        EXPECT_EQ(piece.at, bytes.size()) << piece.field;
        const Bytes part = bytes_of(&piece);
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

/// Where the pieces of one size and with this in their names begin.
inline std::vector<size_t> hand_places(size_t size, const std::string& in = "")
{
    std::vector<size_t> places;
    for (const Piece& piece : hand_pieces) {
        const std::string field = piece.field;
        if (std::strlen(piece.hex) == 2 * size && field.find(in) != std::string::npos) {
            places.push_back(piece.at);
        }
    }
    return places;
}

/// The place of one field.
inline size_t hand_place(const std::string& field)
{
    for (const Piece& piece : hand_pieces) {
        if (field == piece.field) {
            return piece.at;
        }
    }
    ADD_FAILURE() << "no field " << field;
    return 0;
}

inline std::string hand_field(size_t at)
{
    for (const Piece& piece : hand_pieces) {
        if (piece.at == at) {
            return piece.field;
        }
    }
    return "";
}
