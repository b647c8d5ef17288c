// zvKDRWriterParam: what a writer of NC text wants to know beyond the posted moves.
#pragma once

#include <kandrel/misc/export.h>
#include <kandrel/misc/units_factory.h>
#include <kandrel/post/model/mach_def.h>

#include <cstdint>
#include <string>
#include <vector>

/// Axis names, comments, numbering and speed: carried and stored for the application's own writer,
/// and never acted upon. A plain value.
class KANDREL_API zvKDRWriterParam {
 public:
  using Units = measures::zvUnitsFactory::Units;

  /// The application gives the values their meaning.
  enum OutputCoordinatesType : std::int32_t { outputCoordinatesDefault = 0 };
  /// Of the NC text; the application gives the values their meaning.
  enum OutputNCFormat : std::int32_t { outputNCFormatDefault = 0 };

  /// `units` are carried like all else, and not checked.
  explicit zvKDRWriterParam(Units units) : m_units(units) {}

  /// All are carried as they are; the application gives them their meaning.
  bool GetOutputAbsoluteMachineCoordsFlag() const noexcept { return m_outputAbsolute; }
  void SetOutputAbsoluteMachineCoordsFlag(bool value) noexcept { m_outputAbsolute = value; }
  Units GetUnits() const noexcept { return m_units; }
  std::int32_t GetProgNo() const noexcept { return m_progNo; }
  void SetProgNo(std::int32_t value) noexcept { m_progNo = value; }
  std::vector<std::wstring> GetAxisNames() const { return m_axisNames; }
  /// Throws zvPostException 5003 unless there are `count` names and 5004 where two are equal, upper
  /// and lower case being different; the old names stay then.
  void SetAxisNames(const std::vector<std::wstring>& names, unsigned count);
  /// The same for 3 to 6 names by the number of axes; zvPostException 5031 for a number that is
  /// none.
  void SetAxisNames(const std::vector<std::wstring>& names, post::zvMachDef::NumbersOfAxes kind);
  /// All are carried as they are; the application gives them their meaning.
  std::wstring GetToolComment() const { return m_toolComment; }
  void SetToolComment(const std::wstring& text) { m_toolComment = text; }
  std::wstring GetToolPathComment() const { return m_toolPathComment; }
  void SetToolPathComment(const std::wstring& text) { m_toolPathComment = text; }
  std::int32_t GetToolNumber() const noexcept { return m_toolNumber; }
  void SetToolNumber(std::int32_t value) noexcept { m_toolNumber = value; }
  std::int32_t GetStartLineNo() const noexcept { return m_startLineNo; }
  void SetStartLineNo(std::int32_t value) noexcept { m_startLineNo = value; }
  std::int32_t GetLineNoIncrement() const noexcept { return m_lineNoIncrement; }
  void SetLineNoIncrement(std::int32_t value) noexcept { m_lineNoIncrement = value; }
  std::int32_t GetSpindleSpeed() const noexcept { return m_spindleSpeed; }
  void SetSpindleSpeed(std::int32_t value) noexcept { m_spindleSpeed = value; }
  const OutputCoordinatesType& GetOutputCoordinatesType() const noexcept {
    return m_outputCoordinatesType;
  }
  void SetOutputCoordinatesType(const OutputCoordinatesType& value) noexcept {
    m_outputCoordinatesType = value;
  }
  const OutputNCFormat& GetOutputNCFormat() const noexcept { return m_outputNCFormat; }
  void SetOutputNCFormat(const OutputNCFormat& value) noexcept { m_outputNCFormat = value; }

 private:
  bool m_outputAbsolute = false;
  Units m_units;
  std::int32_t m_progNo = 1;
  std::vector<std::wstring> m_axisNames{L"X", L"Y", L"Z", L"A", L"B"};
  std::wstring m_toolComment = L"SAMPLE TOOL";
  std::wstring m_toolPathComment = L"SOME 5 AXIS OPERATION";
  std::int32_t m_toolNumber = 1;
  std::int32_t m_startLineNo = 10;
  std::int32_t m_lineNoIncrement = 5;
  std::int32_t m_spindleSpeed = 1000;
  OutputCoordinatesType m_outputCoordinatesType = outputCoordinatesDefault;
  OutputNCFormat m_outputNCFormat = outputNCFormatDefault;
};
