local i, a, b = 0, 0, 0
while i < 10000 do
  local j = 0
  while j < 1000 do
    if j % 2 == 0 then
      a = a + 1
    else
      b = b + 1
    end
    j = j + 1
  end
  i = i + 1
end
