// CCode: the source text as the interpreter sees it: loaded and rewritten once, then read token by token.
#pragma once

#include <cstdint>
#include <string_view>

#include "language/token_kinds.h"
#include "runstate/runable.h"

namespace karst {

struct ScannedToken;

}  // namespace karst

class KARST_API CCode : public virtual CRunable {
 public:
  CCode();
  CCode(const CCode&) = delete;
  CCode& operator=(const CCode&) = delete;
  ~CCode() override;

  // Loads a file, unless it is the one already held. The length of the new code, 0 if the held code serves, -1 (with
  // a message on the host's output) if it cannot be read, or (without one) if there is no memory to rewrite it. A
  // literal still open at the end is a CError, and so are a character that GBK lacks in a file that begins as UTF-8 and
  // any other lack of memory; what was loaded before then stays.
  int ReadCodeFromFile(const char* lpszFileName, int bReload);
  // The reading alone, for a host that has to tell a file that cannot be read from a load without memory: puts the text
  // of the file into `source`, for LoadCode. 0, or -1 (with the message) if the file cannot be read. A character that
  // GBK lacks in a file that begins as UTF-8, and a lack of memory, are the CError that they are for ReadCodeFromFile.
  int ReadSource(const char* path, CString& source);
  // Loads a source that the host has in memory, as ReadCodeFromFile loads what it has read: GBK text, whose lines end
  // in CR LF. `name`, in GBK, takes the place of the file's path in messages and in szCodeFile, so that a load of the
  // file of that path is served by this code; it may be empty. The length of the new code, or -1 without memory. A
  // literal still open at the end, and a source of 2 GB, are a CError. What was loaded before then stays.
  int LoadCode(std::string_view source, std::string_view name);
  // Rewrites a source into a new buffer from new[], which the caller owns: comments out, continued lines joined,
  // literals with their length in front. Gives the length with the final NUL, or -1 without memory for a buffer of the
  // source's size; where a buffer cannot grow, karst::MemoryError. A literal still open at the end is a CError. So they
  // are for the form below.
  int ChangeCode(const char* lpSource, int nSize, char** lpOut);
  // The same in place; the buffer (from new[]) may move. Where it is lpCodeBuffer, a tree that was built from it is
  // to be built anew.
  int ChangeCode(char** lpCode, int nSize);
  // Forget the file's name, so that the next load reads it afresh; with the second, the code as well.
  int ClearCodeCatch();
  int ClearFileCatch();
  // Sets the read position to the start. A host that has written into the code itself calls it before the next run,
  // which then follows the new text. 0.
  int ResetCodeStartPos();
  // The line of a position in rewritten code, from 1: CRs counted from `lpStart`, those in literals left out.
  int GetLineNumber(const char* lpPos, const char* lpStart);
  // The line of the read position.
  int GetCurLineNumber();
  // The line to report an error with: that of the source which loading refused, or else that of the read position.
  int LineOf(const CError& error) { return error.second_code > 0 ? error.second_code : GetCurLineNumber(); }
  // Writes rewritten code in readable form, or bytes as they are. A literal that the bytes hold in part is written in
  // part, without its closing quote. 0.
  int DumpCode(const char* lpszFile, const char* lpCode, int nLen);
  int DumpFile(const char* lpszFile, const char* lpCode, int nLen);

  // Reads the next token: sets szToken, nTok and nTokenType, moves lpProg, gives the class. Reserved words are
  // overwritten in the code by their number form.
  int GetToken();
  // Gives the last token back; only one can be. 0.
  int PutBack();
  // A word's token number, or 0.
  int LookUpReserve(const char* lpszWord);
  // Passes the next line end. 0, or 1 when lpProgEnd stopped it.
  int FindEOL();
  int SkipBlankLine();
  // Passes a then-part and looks for "else": 1 if it was read, else 0.
  int FindElse();
  // The position behind a label's name, or null.
  char* FindLabel(const char* lpszLabel);

  int nCodeLen = 0;              // length of the rewritten code, with its final NUL
  char* lpCodeBuffer = nullptr;  // the rewritten code, owned; null when nothing is loaded
  char szCodeFile[255];          // full path of the file it came from; empty: the next load reads afresh
  // The token that GetToken read last, for whoever called it. After MainLoop, and after an error, these three mean
  // nothing: a statement that ran before is not read token by token again.
  char szToken[500];          // text of the current token
  int nTok = 0;               // its number; 0 for what is no reserved word, brace, line end or end of code
  int nTokenType = 0;         // its class; -1 after PutBack
  int nPutBackExtra = 0;      // what PutBack gives back beyond the text: 6 for a literal
  char* lpProg = nullptr;     // the read position
  char* lpProgEnd = nullptr;  // end limit of a piece run, null when there is none
  int bPutBack = 1;           // 1: there is no token to put back

 protected:
  static constexpr char kNoDumpMemory[] = "malloc error in CCode::DumpCode()";

  int FreeCodeBuffer();
  // Reads on to the "}" that closes the block whose "{" was just read; halts at the end of the code.
  int SkipBlock();
  // Reading has overwritten these bytes of the code by a form that means the same.
  void NoteOwnEdit(const char* begin, size_t length);

  // Goes up whenever the code buffer is replaced or freed: positions in the old one are void.
  uint32_t code_generation_ = 0;
  // Goes up then, and where a host has changed the text: what was remembered of it is void.
  uint32_t text_generation_ = 0;

 private:
  void NoteNewBuffer();
  void NoteForeignEdits();
  void RefuseToken(const karst::ScannedToken& token);
  void RefuseByte(char byte);

  int literal_length_ = 0;  // bytes that the current literal's text takes in the code, also where it holds a NUL
  CString seen_text_;       // the code as the last ResetCodeStartPos saw it, with reading's own edits since
};
