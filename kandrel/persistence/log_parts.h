// zvKDRBinaryIOManager: single parts of a posting's set-up as small files of their own.
#pragma once

#include <kandrel/misc/auto_pointer.h>
#include <kandrel/misc/basic_types_reader.h>
#include <kandrel/misc/byte_streams.h>
#include <kandrel/misc/export.h>
#include <kandrel/persistence/writer_parameters.h>
#include <kandrel/post/creators/posting_facade.h>
#include <kandrel/post/model/control_def.h>
#include <kandrel/post/model/mach_def.h>
#include <kandrel/post/model/posting_parameters.h>

#include <vector>

/// Each file begins with the header of all files, by whose tag the loader knows it. Savers write
/// version 226 and let the exceptions of stream and record writers pass.
///
/// Loaders throw zvKandrelException 2019 for another tag, zvcadcamException 2027 for a version
/// outside 3 to 226 (LoadAllKandrelParams zvKandrelException 2027 outside 11 to 226, the loaders of
/// a tool value and of writer parameters none), and what reading the record throws; what they read
/// into is as it was then. Some return what had to be changed on the way.
class KANDREL_API zvKDRBinaryIOManager {
 public:
  using LostData = std::vector<misc::zvBILostData>;

  /// Tag "KDRM". The loader takes any file of that tag, also one of the two below, in which it
  /// finds nonsense as a rule and fails.
  static void SaveMachineDefinition(misc::zvBinOutputStream& stream,
                                    const post::zvMachDef& machDef);
  static LostData LoadMachineDefinition(misc::zvBinInputStream& stream,
                                        misc::zvAutoPointer<post::zvMachDef>& machDef);

  /// These two are saved with the tag "KDRM" and looked for with "KDRC" and "KDRP", so that what is
  /// saved can't be loaded: deliberate, as there are files of both kinds and each side keeps to its
  /// own.
  static void SaveControlDefinition(misc::zvBinOutputStream& stream,
                                    const post::zv5axControlDef& control);
  static LostData LoadControlDefinition(misc::zvBinInputStream& stream,
                                        post::zv5axControlDef& control);
  static void SaveKandrelParams(misc::zvBinOutputStream& stream, const post::zvKDRParam& par);
  static LostData LoadKandrelParams(misc::zvBinInputStream& stream,
                                    misc::zvAutoPointer<post::zvKDRParam>& par);

  /// Tag "KDRT": one number, the tool's length compensation.
  static void SaveToolParams(misc::zvBinOutputStream& stream, const double& value);
  static void LoadToolParams(misc::zvBinInputStream& stream, double& value);

  /// Tag "KDRW". The format of the NC text is not stored and comes back as its default. The loader
  /// throws zvPostException 5004 for two equal axis names, zvmeasuresException 2141 for unknown
  /// units.
  static void SaveWriterParams(misc::zvBinOutputStream& stream, const zvKDRWriterParam& par);
  static void LoadWriterParams(misc::zvBinInputStream& stream,
                               misc::zvAutoPointer<zvKDRWriterParam>& par);

  /// Tag "KDRA": the whole set-up, then writer parameters with a header of their own. The façade
  /// keeps alive what it refers to.
  static void SaveAllKandrelParams(misc::zvBinOutputStream& stream, const zvKDR5AxBase& base,
                                   const zvKDRWriterParam& par);
  static LostData LoadAllKandrelParams(misc::zvBinInputStream& stream,
                                       misc::zvAutoPointer<zvKDR5AxBase>& base,
                                       misc::zvAutoPointer<zvKDRWriterParam>& par);

 private:
  static void SerializeWriter(misc::zvBinOutputStream& stream, const zvKDRWriterParam& par);
  static void DeserializeWriter(misc::zvBinInputStream& stream,
                                misc::zvAutoPointer<zvKDRWriterParam>& par);
};
