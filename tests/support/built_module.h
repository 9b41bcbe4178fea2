#pragma once

// The built bundle, loaded through its factory by the project's host library
// as a host loads it, for the tests that use the module from outside.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "hostlib/Plugin_Host.h"

class Built_Module_Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        module = hostlib::Module::load(CORVANE_BUNDLE_PATH, error);
        ASSERT_TRUE(module) << error;
    }

    // A new instance of the effect; null, with the failure noted, when the
    // factory cannot make one.
    std::unique_ptr<hostlib::Instance> create()
    {
        std::string error;
        auto instance = hostlib::Instance::create(*module, "", error);
        EXPECT_TRUE(instance) << error;
        return instance;
    }

    std::unique_ptr<hostlib::Module> module;
};
