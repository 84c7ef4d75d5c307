local i = 0
local s = 0
while i < 10000000 do
  i = i + 1
  s = s + i % 7
end
