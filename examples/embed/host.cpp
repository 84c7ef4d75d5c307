// Runs a filter over each record of a file and prints what it leaves in "soutput". Usage: cpp_host FILTER RECORDS
#include <karst/marc/marcfilter.h>
#include <karst/text/charset.h>

#include <iostream>

namespace {

// The text of one record; false, with a message, if the filter failed on it. Texts inside are GBK.
bool PrintOutput(CMARCFilter& filter, const CString& record) {
  CString error, output;
  filter.SafeSetVar("soutput", "");
  if (filter.FilterOneRecord(record, error) == -1) {
    std::cerr << karst::GbkToUtf8(error.view()) << "\n";
    filter.CloseAfterError();
    return false;
  }
  filter.GetVarString("soutput", output);
  std::cout << karst::GbkToUtf8(output.view()) << "\n";
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  CMARCFilter filter;
  CMARCFile records;
  CString record, error;
  if (argc != 3 || filter.LoadFilterFile(argv[1], error, 0) == -1 || records.Open(argv[2]) == -1) {
    std::cerr << "usage: cpp_host FILTER RECORDS " << karst::GbkToUtf8(error.view()) << "\n";
    return 2;
  }
  bool good = true;
  int result;
  while ((result = records.NextRecord(record)) == 0 || result == 2) {
    good = result == 0 && PrintOutput(filter, record) && good;
  }
  if (result == -1) std::cerr << "cannot read on in " << argv[2] << "\n";  // an error, and not the end
  return good && result != -1 ? 0 : 1;
}
