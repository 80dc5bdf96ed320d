autocmd BufNewFile,BufRead *.lsp set filetype=lisp_worker
