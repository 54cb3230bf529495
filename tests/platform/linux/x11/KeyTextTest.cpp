#include "platform/linux/x11/KeyText.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <vector>

namespace velmora::linux_backend {
namespace {

using Symbols = std::vector<xcb_keysym_t>;

TEST(KeyText, ALetterIsACapitalAsOnTheKey)
{
    EXPECT_EQ(textOfKey(Symbols{XK_c, XK_C, XK_c, XK_C}, 0), "C");
    EXPECT_EQ(textOfKey(Symbols{XK_j, XK_J}, 0), "J") << "Dvorak";
    EXPECT_EQ(textOfKey(Symbols{XK_Cyrillic_es, XK_Cyrillic_ES}, 0), "С") << "not the Latin C";
    EXPECT_EQ(textOfKey(Symbols{XK_Greek_psi, XK_Greek_PSI}, 0), "Ψ");
    EXPECT_EQ(textOfKey(Symbols{XK_hebrew_bet}, 0), "ב") << "a script without capitals";
}

TEST(KeyText, ASignIsWhatItIsWithoutShift)
{
    EXPECT_EQ(textOfKey(Symbols{XK_semicolon, XK_colon}, 0), ";");
    EXPECT_EQ(textOfKey(Symbols{0x01001234, 0}, 0), "ሴ") << "a symbol that is a character's number";
}

TEST(KeyText, TheLayoutInUseIsTheOneThatCounts)
{
    const Symbols both{XK_c, XK_C, XK_Cyrillic_es, XK_Cyrillic_ES, XK_copyright, XK_cent};
    EXPECT_EQ(textOfKey(both, 0), "C");
    EXPECT_EQ(textOfKey(both, 1), "С");
    EXPECT_EQ(textOfKey(both, 2), "C") << "a third layout has no place that the protocol fixes";
    EXPECT_EQ(textOfKey(Symbols{XK_c, XK_C}, 1), "C");
    EXPECT_EQ(textOfKey(Symbols{XK_c, XK_C, 0, 0}, 1), "C");
}

TEST(KeyText, AKeyWithoutATextHasNone)
{
    for (const xcb_keysym_t symbol : {xcb_keysym_t{0}, xcb_keysym_t{XK_Escape}, xcb_keysym_t{XK_space}, xcb_keysym_t{XK_Delete},
             xcb_keysym_t{XK_F9}, xcb_keysym_t{XK_dead_acute}, xcb_keysym_t{0x1008FF12}})
        EXPECT_EQ(textOfKey(Symbols{symbol, symbol}, 0), "") << symbol;
    EXPECT_EQ(textOfKey({}, 0), "");
    EXPECT_EQ(textOfKey({}, 3), "");
}

}  // namespace
}  // namespace velmora::linux_backend
