local i, n, s = 0, 0, ""
while i < 10000000 do
  i = i + 1
  s = s .. "x"
  n = n + 1
  if n == 1000 then
    s = ""
    n = 0
  end
end
