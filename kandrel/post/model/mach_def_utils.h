// zvMachDefUtils: checked casts from zvMachDef to its classes.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/export.h>
#include <kandrel/post/model/mach_def.h>

namespace post {

/// By value the casts return a copy of the class; by pointer they share the object, and count that;
/// As3ax to As6ax return the object itself. They throw zvPostException 5043 "Wrong static method
/// called." for a definition of another class, 2503 for one of no class, and "Accessing NULL
/// pointer" for a null pointer.
class KANDREL_API zvMachDefUtils {
 public:
  zvMachDefUtils() = delete;

  /// A copy of the definition as its own class.
  static zv3axMachDef Cast3ax(const zvMachDef& machDef);
  static zv4axMachDef Cast4ax(const zvMachDef& machDef);
  static zv5axMachDef Cast5ax(const zvMachDef& machDef);
  static zv6axMachDef Cast6ax(const zvMachDef& machDef);

  /// The definition itself as its own class.
  static const zv3axMachDef& As3ax(const zvMachDef& machDef);
  static const zv4axMachDef& As4ax(const zvMachDef& machDef);
  static const zv5axMachDef& As5ax(const zvMachDef& machDef);
  static const zv6axMachDef& As6ax(const zvMachDef& machDef);

  /// The same object, its count shared.
  static misc::zvAutoPointer<zv3axMachDef> Cast3ax(const misc::zvAutoPointer<zvMachDef>& machDef);
  static misc::zvAutoPointer<zv4axMachDef> Cast4ax(const misc::zvAutoPointer<zvMachDef>& machDef);
  static misc::zvAutoPointer<zv5axMachDef> Cast5ax(const misc::zvAutoPointer<zvMachDef>& machDef);
  static misc::zvAutoPointer<zv6axMachDef> Cast6ax(const misc::zvAutoPointer<zvMachDef>& machDef);

  /// 3 to 6. Throws zvPostException 5031 for any other `numbersOfAxes`.
  static int GetNumberOfAxes(const misc::zvAutoPointer<zvMachDef>& machDef);

  /// Throws zvPostException 5032 or 5033 for a path in other units than the machine's.
  static void RequireUnits(const zvMachDef& machDef, measures::zvUnitsFactory::Units pathUnits);

  /// Accepts definitions of one class and throws for the others.
  class KANDREL_API zvCastingRevolvedChecker : public zvMachineVisitor {
   public:
    /// Accepts this class alone.
    explicit zvCastingRevolvedChecker(zvMachDef::NumbersOfAxes expected) : m_expected(expected) {}

    void Visit(const zv6axMachDef& machDef) override;
    void Visit(const zv5axMachDef& machDef) override;
    void Visit(const zv4axMachDef& machDef) override;
    void Visit(const zv3axMachDef& machDef) override;
    void Visit(const zvMachDef& machDef) override;

   private:
    void Require(zvMachDef::NumbersOfAxes visited) const;

    zvMachDef::NumbersOfAxes m_expected;
  };
};

/// The machine of the first two rotary axes of a 6-axis one. Its kind follows from the side flags
/// of these, not from the field: (0, 0) both in the head, (1, 1) both on the table, anything else
/// the first on the table and the second in the head. The third axis, which stands still, has no
/// influence. Throws as the constructor of zv5axMachDef does.
KANDREL_API zv5axMachDef Get5axMachDef(const zv6axMachDef& machDef);

}  // namespace post
