local data
for round = 1, rounds do
  data = dofile(file)
end
print(data and #data)
