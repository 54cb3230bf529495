#include "platform/linux/portal/CastLife.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <map>
#include <utility>
#include <vector>

namespace velmora::linux_backend {
namespace {

using State = CastLife::State;
using Event = CastLife::Event;

constexpr Event allEvents[] = {Event::handedOut, Event::requestEnded, Event::shown, Event::requestedAgain, Event::soundAsked,
    Event::soundDecided, Event::taken, Event::released, Event::givenBack, Event::endedByDesktop};

CastLife after(std::initializer_list<Event> events)
{
    CastLife life;
    for (const auto event : events)
        EXPECT_TRUE(life.happen(event));
    return life;
}

// The shortest way to each state.
CastLife asking()
{
    return CastLife{};
}
CastLife connecting()
{
    return after({Event::handedOut});
}
CastLife offered()
{
    return after({Event::handedOut, Event::shown});
}
CastLife deciding()
{
    return after({Event::handedOut, Event::shown, Event::soundAsked});
}
CastLife captured()
{
    return after({Event::handedOut, Event::shown, Event::taken});
}
CastLife offeredAgain()
{
    return after({Event::handedOut, Event::shown, Event::taken, Event::requestedAgain});
}
CastLife decidingAgain()
{
    return after({Event::handedOut, Event::shown, Event::taken, Event::requestedAgain, Event::soundAsked});
}
CastLife ended()
{
    return after({Event::handedOut, Event::shown, Event::taken, Event::endedByDesktop});
}
CastLife over()
{
    return after({Event::requestEnded});
}

/// Those events lead on, each to its state, and every other one changes nothing and says so.
void expectNothingBut(const CastLife& life, const std::map<Event, State>& expected)
{
    for (const auto event : allEvents) {
        auto next = life;
        const auto found = expected.find(event);
        EXPECT_EQ(next.happen(event), found != expected.end()) << "event " << static_cast<int>(event);
        EXPECT_EQ(next.state(), found == expected.end() ? life.state() : found->second) << "event " << static_cast<int>(event);
    }
}

TEST(CastLife, AQuestionEndsWithAWindowOrWithout)
{
    EXPECT_EQ(asking().state(), State::asking);
    expectNothingBut(
        asking(), {{Event::handedOut, State::connecting}, {Event::requestEnded, State::over}, {Event::endedByDesktop, State::over}});
}

TEST(CastLife, AWindowIsGrantedWhenItsFirstPictureIsThereAndNotBefore)
{
    EXPECT_EQ(connecting().state(), State::connecting);
    EXPECT_FALSE(connecting().isGranted());
    expectNothingBut(
        connecting(), {{Event::shown, State::offered}, {Event::requestEnded, State::over}, {Event::endedByDesktop, State::over}});
}

TEST(CastLife, AGrantedWindowWaitsToBeTakenAndIsOverWhenItIsGivenBack)
{
    EXPECT_EQ(offered().state(), State::offered);
    expectNothingBut(offered(),
        {{Event::soundAsked, State::deciding}, {Event::requestedAgain, State::offered}, {Event::soundDecided, State::offered},
            {Event::taken, State::captured}, {Event::givenBack, State::over}, {Event::endedByDesktop, State::over}});
}

TEST(CastLife, WhileTheSoundIsBeingChosenTheWindowIsKept)
{
    EXPECT_EQ(deciding().state(), State::deciding);
    EXPECT_FALSE(deciding().isToBeTakenSoon());
    expectNothingBut(deciding(),
        {{Event::soundAsked, State::deciding}, {Event::soundDecided, State::offered}, {Event::requestedAgain, State::offered},
            {Event::taken, State::captured}, {Event::givenBack, State::over}, {Event::endedByDesktop, State::over}});
}

TEST(CastLife, ACapturedWindowIsNotGivenBackAndIsOverWithItsLastCapture)
{
    EXPECT_EQ(captured().state(), State::captured);
    expectNothingBut(captured(),
        {{Event::requestedAgain, State::offeredAgain}, {Event::taken, State::captured}, {Event::released, State::over},
            {Event::endedByDesktop, State::ended}});
}

TEST(CastLife, AWindowThatIsGrantedOnceMoreGoesBackToItsCapture)
{
    EXPECT_EQ(offeredAgain().state(), State::offeredAgain);
    expectNothingBut(offeredAgain(),
        {{Event::soundAsked, State::decidingAgain}, {Event::requestedAgain, State::offeredAgain},
            {Event::soundDecided, State::offeredAgain}, {Event::taken, State::captured}, {Event::givenBack, State::captured},
            {Event::released, State::offered}, {Event::endedByDesktop, State::ended}});
}

TEST(CastLife, ACaptureMayEndWhileTheNextOnesSoundIsBeingChosen)
{
    EXPECT_EQ(decidingAgain().state(), State::decidingAgain);
    EXPECT_FALSE(decidingAgain().isToBeTakenSoon());
    expectNothingBut(decidingAgain(),
        {{Event::soundAsked, State::decidingAgain}, {Event::soundDecided, State::offeredAgain},
            {Event::requestedAgain, State::offeredAgain}, {Event::taken, State::captured}, {Event::givenBack, State::captured},
            {Event::released, State::deciding}, {Event::endedByDesktop, State::ended}});
}

TEST(CastLife, AfterTheDesktopEndedItNothingIsLeftButToLetGo)
{
    EXPECT_EQ(ended().state(), State::ended);
    EXPECT_FALSE(ended().isGranted());
    expectNothingBut(ended(), {{Event::released, State::over}});
}

TEST(CastLife, AfterTheEndNothingHappens)
{
    EXPECT_EQ(over().state(), State::over);
    EXPECT_FALSE(over().isGranted());
    expectNothingBut(over(), {});
}

TEST(CastLife, OfTwoCapturesTheSecondKeepsTheWindow)
{
    auto life = after({Event::handedOut, Event::shown, Event::taken, Event::requestedAgain, Event::taken, Event::released});
    EXPECT_EQ(life.state(), State::captured);
    EXPECT_TRUE(life.happen(Event::released));
    EXPECT_EQ(life.state(), State::over);
    EXPECT_FALSE(life.happen(Event::released)) << "once too often";
}

TEST(CastLife, BothCapturesLetGoOfAWindowThatTheDesktopEnded)
{
    auto life = after({Event::handedOut, Event::shown, Event::taken, Event::taken, Event::endedByDesktop, Event::released});
    EXPECT_EQ(life.state(), State::ended);
    EXPECT_FALSE(life.happen(Event::endedByDesktop)) << "twice";
    EXPECT_TRUE(life.happen(Event::released));
    EXPECT_EQ(life.state(), State::over);
}

TEST(CastLife, OneOfTwoCapturesEndsWithoutEndingTheOffer)
{
    auto life = after({Event::handedOut, Event::shown, Event::taken, Event::taken, Event::requestedAgain, Event::released});
    EXPECT_EQ(life.state(), State::offeredAgain);
    EXPECT_TRUE(life.happen(Event::released));
    EXPECT_EQ(life.state(), State::offered);
    EXPECT_TRUE(life.isToBeTakenSoon());
}

TEST(CastLife, AWindowThatWaitsToBeTakenIsTheOnlyOneThatIsGivenBackInTime)
{
    EXPECT_TRUE(offered().isToBeTakenSoon());
    EXPECT_TRUE(offeredAgain().isToBeTakenSoon());
    for (const auto& life : {asking(), connecting(), deciding(), captured(), decidingAgain(), ended(), over()})
        EXPECT_FALSE(life.isToBeTakenSoon()) << static_cast<int>(life.state());
    for (const auto& life : {offered(), deciding(), captured(), offeredAgain(), decidingAgain()})
        EXPECT_TRUE(life.isGranted()) << static_cast<int>(life.state());
}

}  // namespace
}  // namespace velmora::linux_backend
