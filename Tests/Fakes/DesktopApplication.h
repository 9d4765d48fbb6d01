// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <memory>

namespace zelvane {

/// The application object that widgets need, for all tests of a program: one is enough, and a second is none.
class DesktopApplication : public testing::Environment {
  public:
    void SetUp() override { _application = std::make_unique<QApplication>(_count, _words); }
    void TearDown() override { _application.reset(); }

  private:
    int _count = 1;
    char _name[8] = "zelvane";
    char* _words[2] = {_name, nullptr};
    std::unique_ptr<QApplication> _application;
};

}  // namespace zelvane
