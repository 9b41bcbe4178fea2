#include "effect/Corvane_SingleComponentEffect.h"

#include <gtest/gtest.h>

using namespace Steinberg;

TEST(CorvaneEffect, EveryLiveEffectFindsItsEngine)
{
    FUnknown* first = Corvane_SingleComponentEffect::createInstance(nullptr);
    FUnknown* second = Corvane_SingleComponentEffect::createInstance(nullptr);
    ASSERT_TRUE(first && second);
    // The create function hands out the processor interface of the effect.
    auto* a = static_cast<Corvane_SingleComponentEffect*>(static_cast<Vst::IAudioProcessor*>(first));
    auto* b = static_cast<Corvane_SingleComponentEffect*>(static_cast<Vst::IAudioProcessor*>(second));
    DT_DSPObject* engineA = Corvane_SingleComponentEffect::engineOf(a);
    DT_DSPObject* engineB = Corvane_SingleComponentEffect::engineOf(b);
    ASSERT_NE(engineA, nullptr);
    ASSERT_NE(engineB, nullptr);
    EXPECT_NE(engineA, engineB);
    EXPECT_EQ(Corvane_SingleComponentEffect::engineOf(engineA), nullptr);

    first->release();
    EXPECT_EQ(Corvane_SingleComponentEffect::engineOf(a), nullptr);
    EXPECT_EQ(Corvane_SingleComponentEffect::engineOf(b), engineB);
    second->release();
    EXPECT_EQ(Corvane_SingleComponentEffect::engineOf(b), nullptr);
}

TEST(CorvaneEffect, EditsReachTheHostOnlyForItsParameters)
{
    auto* effect = new Corvane_SingleComponentEffect();
    ASSERT_EQ(effect->initialize(nullptr), kResultOk);
    EXPECT_EQ(effect->getParameterObject(12345), nullptr);
    EXPECT_EQ(effect->beginEdit(12345), kResultFalse);
    EXPECT_EQ(effect->performEdit(12345, 0.5), kResultFalse);
    EXPECT_EQ(effect->endEdit(12345), kResultFalse);
    EXPECT_FALSE(effect->isPrivateParameter(12345));
    EXPECT_EQ(effect->getSamplesPerFrame(), 200);
    effect->terminate();
    effect->release();
}
