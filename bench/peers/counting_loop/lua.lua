local i, n
for round = 1, rounds do
  i = 0
  n = 40000
  while i < n do
    i = i + 1
  end
end
print(i)
