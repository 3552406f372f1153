#pragma once

// Shared helpers of the test programs.

#include <gtest/gtest.h>

#include <string>

// Checks that `statement` throws exactly the exception type `type` (not a derived one) and that
// its what() text equals `text`.
#define EXPECT_THROW_MSG(statement, type, text)                                         \
  do {                                                                                  \
    bool korvantix_thrown = false;                                                      \
    try {                                                                               \
      statement;                                                                        \
    } catch (const type& korvantix_error) {                                             \
      korvantix_thrown = true;                                                          \
      EXPECT_EQ(typeid(korvantix_error), typeid(type)) << "a type derived from " #type; \
      EXPECT_EQ(std::string(korvantix_error.what()), std::string(text));                \
    } catch (const std::exception& korvantix_error) {                                   \
      ADD_FAILURE() << "unexpected exception type: " << korvantix_error.what();         \
      korvantix_thrown = true;                                                          \
    }                                                                                   \
    if (!korvantix_thrown) ADD_FAILURE() << #statement " did not throw";                \
  } while (false)
