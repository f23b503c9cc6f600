// IO/IO.h: the chief header: all readers and writers of spectrum files and their records.
#pragma once

#include "MgfReader.h"
#include "MgfWriter.h"
#include "MsTextReader.h"
#include "MsTextWriter.h"
#include "MsbReader.h"
#include "MsbWriter.h"
#include "PeakDigits.h"
#include "PfWriter.h"
#include "PrecursorCsvWriter.h"
#include "RunRecord.h"
#include "ScanCompletion.h"
#include "ScanNumber.h"
#include "ScanTable.h"
#include "SpectrumFile.h"
#include "SpectrumRecords.h"
#include "SpectrumWriterGroup.h"
