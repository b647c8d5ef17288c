// Random numbers whose seed comes from the running test's name, so that no case is flaky and a
// failure repeats.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/misc/platform.h>
#include <tests/support/testing.h>

#include <random>

namespace tests {

class Seeded {
 public:
  using Point = cadcam::zvTPoint3d<double>;

  Seeded() : m_engine(SeedOfTest()) {}

  double Real(double low, double high) {
    // Spelled out, as the library's distributions may differ between systems.
    const double unit = static_cast<double>(m_engine() >> 11) * 0x1p-53;
    return low + unit * (high - low);
  }
  int Integer(int low, int high) {
    return low + static_cast<int>(m_engine() % static_cast<std::uint64_t>(high - low + 1));
  }
  bool Chance(double probability) { return Real(0, 1) < probability; }
  Point Vector(double size) { return {Real(-size, size), Real(-size, size), Real(-size, size)}; }
  Point UnitVector() {
    for (;;) {
      const Point p = Vector(1);
      const double length = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
      if (length > 0.1 && length < 1) return {p.x / length, p.y / length, p.z / length};
    }
  }

 private:
  // FNV-1a: std::hash may differ between systems.
  static std::uint64_t SeedOfTest() {
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    std::uint64_t hash = 14695981039346656037u;
    for (const char c : std::string(info->test_suite_name()) + "." + info->name())
      hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
    return hash;
  }

  std::mt19937_64 m_engine;
};

/// How many of so many random cases are tried: a third where a sanitizer makes all of them long.
inline int Rounds(int count) {
  return misc::platform::IsAddressSanitized() ? count / 3 : count;
}

}  // namespace tests
