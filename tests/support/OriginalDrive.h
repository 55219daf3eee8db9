// Drive R:, a place that data may come from and go back to.
#pragma once

namespace qev::test {

// Makes the drive empty, now and in the end. tools/test-disks.sh makes the drive; tests are skipped where it is not
// there.
class OriginalDrive {
 public:
  OriginalDrive() { empty(); }
  OriginalDrive(const OriginalDrive&) = delete;
  OriginalDrive& operator=(const OriginalDrive&) = delete;
  ~OriginalDrive() { empty(); }

  bool isThere() const;

 private:
  void empty() const;
};

}  // namespace qev::test
