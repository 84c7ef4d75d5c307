// The kinds of tokens.
#pragma once

namespace karst {

// Token classes: what CCode::GetToken gives.
enum TokenClass : int {
  DELIMITER = 1,
  VARIABLE = 2,
  NUMBER = 3,
  COMMAND = 4,
  WORD = 5,
  STRING = 6,
  LABEL = 7,
  CHARCONST = 8,
};

// Token numbers: what CCode::nTok holds. 0 stands for everything else.
enum TokenNumber : int {
  kTokIf = 1,
  kTokGoto = 2,
  kTokReturn = 3,
  kTokStop = 4,
  kTokLoop = 5,
  kTokEndLoop = 6,
  kTokInt = 7,
  kTokString = 8,
  kTokDelete = 9,
  kTokBegin = 10,
  kTokEnd = 11,
  kTokCall = 12,
  kTokIntArray = 13,
  kTokStringArray = 14,
  kTokElse = 15,
  kTokBreak = 16,
  kTokJump = 17,
  kTokStart = 18,
  kTokFinal = 19,
  kTokField = 20,
  kTokSubField = 21,
  kTokCommon = 22,
  kTokChain = 23,
  EOL = 24,
  kTokGroup = 25,
  kTokRecord = 26,
  kTokContinue = 27,
  kTokInt64 = 28,
  FINISHED = 29,
};

}  // namespace karst
