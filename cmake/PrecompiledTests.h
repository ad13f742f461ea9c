#pragma once
// What every test includes beside Precompiled.h.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/asio/use_future.hpp>

#include <filesystem>
#include <fstream>
#include <future>
