#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include <vxgrid/xtal/unit_cell.h>

#include "report.h"

/// What is known of one file: a line each for people, a field each for programs.
class Report {
 public:
  Report(const std::string& file, const char* kind, Json* json) : json_(json) {
    if (!json_) {
      std::printf("%s: %s\n", file.c_str(), kind);
      return;
    }
    json_->open_object();
    json_->field("file", file);
    json_->field("kind", kind);
  }
  ~Report() {
    if (json_) json_->close_object();
  }

  /// A value that reads the same for both.
  template <class T>
  void field(const char* key, const T& value) {
    if (json_)
      json_->field(key, value);
    else
      line(key, as_text(value));
  }
  template <class T>
  void list(const char* key, const T& values) {
    if (json_) {
      json_->list(key, values);
      return;
    }
    std::vector<std::string> words;
    for (const auto& each : values) words.push_back(as_text(each));
    line(key, join(words, " "));
  }
  void cell(const VXCore::VXXtal::VXUnitCell& cell) {
    if (cell.isValid())
      list("cell", std::vector<float>{cell.a, cell.b, cell.c, cell.alpha, cell.beta, cell.gamma});
  }
  void group(int number, const std::string& name) {
    if (!json_) {
      line("group", text("%d %s", number, name.c_str()));
      return;
    }
    json_->open_object("group");
    json_->field("number", number);
    json_->field("name", name);
    json_->close_object();
  }
  void line(const char* key, const std::string& value) const {
    std::printf("  %-11s  %s\n", key, plain_text(value).c_str());
  }
  Json* json() const { return json_; }

 private:
  static std::string as_text(const std::string& value) { return value; }
  static std::string as_text(const char* value) { return value; }
  static std::string as_text(double value) { return text("%.6g", value); }
  static std::string as_text(float value) { return text("%.6g", value); }
  static std::string as_text(unsigned value) { return std::to_string(value); }
  static std::string as_text(int value) { return std::to_string(value); }

  Json* json_;
};
