for round = 1, rounds do
  dofile(file)
end
print(d)
