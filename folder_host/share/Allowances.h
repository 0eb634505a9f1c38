#pragma once

#include <initializer_list>
#include <set>
#include <string>
#include <utility>

namespace folder_host {

// The risks in spite of which to share.
class Allowances {
 public:
  Allowances() = default;
  // Each of these kinds, whatever it is about.
  Allowances(std::initializer_list<std::string> identifiers) : kinds_(identifiers) {}

  void allow(const std::string& identifier) { kinds_.insert(identifier); }
  // The one that is about this path, given by its bytes or as people are shown it.
  void allow(const std::string& identifier, const std::string& path) { cases_.emplace(identifier, path); }

  bool allows(const std::string& identifier, const std::string& path) const;

 private:
  std::set<std::string> kinds_;
  std::set<std::pair<std::string, std::string>> cases_;
};

}  // namespace folder_host
